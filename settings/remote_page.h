// The page of the remote control: which of its channels steers which function of the pod.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>
#include <functional>

#include "settings/settings_page.h"

class QCheckBox;
class QComboBox;
class sbus_control;
struct SettingsForm;

// Nothing of it is stored: the assignment is the pod's, read and written on demand. The strips only show.
class RemotePage : public QObject, public SettingsPage {
    Q_OBJECT

public:
    // The form outlives the page.
    explicit RemotePage(const SettingsForm& form);

    void load() override;
    void retranslate() override;
    // The strips get their texts.
    void selected() override;
    // Code 18 with 2 in its first byte and the ten rows behind it; shorter ones change nothing.
    void onReply(std::uint16_t code, const unsigned char* data, int size) override;

    // Whether the control link is open; closed while nobody has set it.
    std::function<bool()> link_open;

signals:
    // A variable frame to the pod.
    void frameRequested(std::uint16_t code, const QByteArray& payload);

private:
    struct Row {
        QComboBox* channel;
        QCheckBox* reverse;  // null for a lever that has none
        sbus_control* strip;
    };

    Row row(std::size_t index) const;
    void showTexts();
    void write();
    void sendAssignment();

    const SettingsForm& m_form;
    QTimer m_writeWaits;
    bool m_textsShown = false;
};
