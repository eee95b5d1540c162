// A live stream: one thread receives, one puts pictures together and decodes, one plays sound, one each
// writes recordings and stills.
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>

#include "tavrik/audio_decoder.h"
#include "tavrik/byte_stream.h"
#include "tavrik/callback_gate.h"
#include "tavrik/chunk_queue.h"
#include "tavrik/frames_in_flight.h"
#include "tavrik/rate_counter.h"
#include "tavrik/recorder.h"
#include "tavrik/session.h"
#include "tavrik/sound_sync.h"
#include "tavrik/source.h"
#include "tavrik/still_taker.h"
#include "tavrik/tavrik.h"
#include "tavrik/video_decoder.h"
#include "tavrik/worker_group.h"

namespace tavrik {

struct LiveCallbacks {
    FrameCallback on_frame;
    AudioCallback on_audio;
    SeiCallback on_sei;
};

class LiveSession : public Session, private SourceSink, public std::enable_shared_from_this<LiveSession> {
public:
    LiveSession(LiveCallbacks callbacks, DecoderKind decoder, Options options);

    // False if the system gives no threads; then nothing runs.
    bool start(std::unique_ptr<Source> source);
    void close() override;
    void captureBegin(const std::string& path, bool mp4) override;
    void captureEnd() override { m_recorder.end(); }
    void stillBegin(const std::string& path) override;
    void stillEnd() override { m_stills.cancel(); }
    CallbackGate& gate() { return m_gate; }

private:
    // SourceSink
    bool stopped() const override { return m_stopped; }
    void pause(int ms) override;
    void onBytes(const std::uint8_t* data, std::size_t size) override;
    void onVideo(const VideoPiece& piece, const SharedParameters& format) override;
    bool wantsAudio() const override { return static_cast<bool>(m_callbacks.on_audio); }
    void onSound(const SoundPiece& piece, const SharedParameters& format) override;
    void receive();

    // The decoding thread.
    void decodeLoop();
    void take(const Chunk& chunk);
    void takePiece(const Chunk& chunk);
    void followFormat(const Chunk& chunk);
    void pushDescribedSets(const Stamp& stamp);
    void finish();
    int silenceMs() const;
    void onSilence();
    void onPicture(const AccessUnitPtr& unit);
    void passSei(Codec codec, const AccessUnit& unit);
    bool admit(const AccessUnit& unit);
    void beginAnew();
    void showAll(bool all);
    bool ensureDecoder(Codec codec);
    void onFrame(AVFrame* frame);
    void onTsAudio(int stream_type, const Stamp& stamp, const std::uint8_t* data, std::size_t size);

    AudioDecoder* audio();  // starts it at its first use; null if nobody listens
    void stopAll();

    const LiveCallbacks m_callbacks;
    CallbackGate m_gate;
    WorkerGroup m_workers;
    std::atomic<bool> m_stopped{false};
    std::mutex m_stopMutex;
    std::condition_variable m_stopChanged;
    ChunkQueue m_queue;
    std::unique_ptr<Source> m_source;  // set before the threads start

    std::mutex m_audioMutex;
    std::shared_ptr<AudioDecoder> m_audio;
    SoundSync m_sync;

    Recorder m_recorder;
    std::atomic<bool> m_recorderRuns{false};
    StillTaker m_stills;
    std::atomic<bool> m_stillsRun{false};

    // Of the decoding thread alone.
    ByteStream m_bytes;
    std::optional<PictureStream> m_packets;
    SharedParameters m_format;
    Clock::time_point m_arrived{};  // when the chunk in hand came
    SharedParameters m_tsSound;
    VideoDecoder m_decoder;
    FramesInFlight m_inFlight;
    RateCounter m_rate;
    bool m_waitForKey = true;
    Clock::time_point m_waitSince{};  // the first picture while waiting for a key picture; 0: none yet
    bool m_toldFull = false;
    bool m_silenceTold = false;  // since the last chunk
    bool m_damaged = false;      // a picture since the last key picture is not whole
    bool m_showsAll = false;     // pictures are shown although no key picture has come
};

}  // namespace tavrik
