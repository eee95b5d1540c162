// One of the two video channels: opening, closing, and the check that a stream still brings pictures.
#pragma once

#include <QObject>
#include <functional>
#include <memory>

class BlockStream;
class ChannelSound;
class MyAppConfig;
class PicturePresenter;
class QMyVideoWidget;
class StreamPanel;

// The window's fields of a channel.
struct ChannelFields {
    bool& playing;
    bool& recording;
    bool& snapping;
    bool& no_signal;
};

// What the first channel has beyond the second.
struct FirstChannel {
    ChannelSound& sound;
    BlockStream& blocks;
    int& check_timer;   // id of a timer of `timers`, 0 for none
    bool& video_alive;  // set by each picture, cleared by each check
    QObject& timers;
    // Gets each run of user data; on the stream library's thread.
    std::function<void(void* run, int size, int kind)> on_sei;
};

// What a channel works with; all of it outlives the channel.
struct ChannelParts {
    QMyVideoWidget& widget;
    StreamPanel& panel;
    PicturePresenter& presenter;
    MyAppConfig& config;
    QObject& events;  // gets the pictures
};

// What a channel tells its surroundings. All must be set.
struct ChannelActions {
    std::function<void()> opened_or_closed;  // the texts of the buttons
    std::function<void()> recording_ended;   // by the closing of the channel
    std::function<void()> state_changed;     // the status bar
};

// GUI thread.
class VideoChannel : public QObject {
    Q_OBJECT

public:
    // number: 1 or 2; `first` is given to channel 1 and null for channel 2.
    VideoChannel(int number, const ChannelParts& parts, const ChannelFields& fields, ChannelActions actions,
                 const FirstChannel* first = nullptr);
    ~VideoChannel() override;

    // What the stream library gave for the last stream on this widget; 0 for none yet.
    int handle() const;
    // Opens a closed channel and closes an open one.
    void toggle();
    // Ends the check; nothing for channel 2.
    void stopCheck();
    // Expiry of the check: a channel without pictures since the last one is closed and opened again. The
    // whole policy of reconnection: no back-off, no limit, no message.
    void onCheck();

private:
    void open();
    void openStream();
    void opened();
    void close();

    int m_number;
    ChannelParts m_parts;
    ChannelFields m_fields;
    ChannelActions m_actions;
    const std::unique_ptr<FirstChannel> m_first;
};
