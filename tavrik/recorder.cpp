#include "tavrik/recorder.h"

#include <cstdio>
#include <utility>

namespace tavrik {
namespace {

void tell(const std::string& path, const char* what) {
    std::fprintf(stderr, "tavrik: capture %s %s\n", path.c_str(), what);
}

}  // namespace

void Recorder::picture(const AccessUnitPtr& unit, AVCodecID codec, const SharedParameters& format) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopped || codec == AV_CODEC_ID_NONE) {
        return;
    }
    endWhenDue(m_now());
    followCodec(codec, unit->codec);
    m_format = format;
    m_sets.learn(unit->data(), unit->size());
    if (unit->file_can_begin) {
        m_ringSets = m_sets.bytes();
    }
    if (m_next && mayBegin(*unit)) {
        beginFile(unit);
    }
    take({unit, nullptr});
}

void Recorder::sound(const SoundPiece& piece, const SharedParameters& format) {
    auto chunk = std::make_shared<SoundChunk>();
    chunk->data.assign(piece.data, piece.data + piece.size);
    chunk->stamp = piece.stamp;
    chunk->whole = piece.whole;
    chunk->parameters = format;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_stopped) {
        m_hasSound = true;
        take({nullptr, std::move(chunk)});
    }
}

void Recorder::take(const CaptureItem& item) {
    m_ring.push(item);
    if (!m_open) {
        return;
    }
    Job job;
    job.item = item;
    queue(std::move(job));
}

void Recorder::followCodec(AVCodecID codec, Codec kind) {
    if (codec == m_codec && kind == m_sets.codec()) {
        return;
    }
    if (m_open) {
        endFile("the stream's coding changed");
    }
    m_ring.clear();
    m_sets = ParameterSets(kind);
    m_codec = codec;
}

bool Recorder::mayBegin(const AccessUnit& unit) {
    if (unit.file_can_begin) {
        return true;
    }
    const auto waited = m_now() - m_nextSince;
    if (waited <= kMaxWaitForKey || m_sets.bytes().empty()) {
        return false;
    }
    // While a file is open its pictures are in there: only a new one cannot wait for ever.
    return unit.decoding_can_begin || (!m_open && waited > 2 * kMaxWaitForKey);
}

// `first`, which is handed over behind it.
void Recorder::beginFile(const AccessUnitPtr& first) {
    m_current = *std::exchange(m_next, std::nullopt);
    m_open = true;
    m_leavingOut = false;
    m_endAt.reset();
    Job job;
    job.kind = Job::Kind::kBegin;
    job.serial = ++m_serial;
    job.target = m_current;
    job.format = {m_codec, m_format, first->file_can_begin ? m_ringSets : m_sets.bytes(), m_hasSound};
    queue(std::move(job));
}

void Recorder::endFile(const char* reason) {
    m_open = false;
    m_endAt.reset();
    Job job;
    job.kind = Job::Kind::kEnd;
    job.reason = reason;
    queue(std::move(job));
}

void Recorder::endWhenDue(Clock::time_point now) {
    if (m_endAt && now >= *m_endAt) {
        endFile("as asked for");
    }
}

void Recorder::queue(Job job) {
    if (job.kind == Job::Kind::kItem) {
        const AccessUnit* const unit = job.item.picture.get();
        if (m_waitingBytes > kMaxWaitingBytes) {
            m_leavingOut = true;
        } else if (unit != nullptr && unit->file_can_begin) {
            m_leavingOut = false;
        }
        if (m_leavingOut) {
            if (!std::exchange(m_toldLeavingOut, true)) {
                tell(m_current.path, "lacks pictures: the disk is too slow");
            }
            return;
        }
        m_waitingBytes += job.item.bytes();
    }
    m_jobs.push_back(std::move(job));
    m_changed.notify_all();
}

void Recorder::begin(const std::string& path, bool mp4) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopped) {
        return;
    }
    endWhenDue(m_now());
    if (m_open) {
        m_endAt.reset();
        m_next.reset();
        // To begin the same file anew would throw its pictures away.
        if (path != m_current.path) {
            m_next = CaptureTarget{path, mp4};
            m_nextSince = m_now();
        }
        return;
    }
    m_next = CaptureTarget{path, mp4};
    m_nextSince = m_now();
    if (m_ring.empty()) {
        return;
    }
    beginFile(m_ring.items().front().picture);
    for (const CaptureItem& item : m_ring.items()) {
        Job job;
        job.item = item;
        queue(std::move(job));
    }
}

void Recorder::end() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_next) {
        tell(m_next->path, "has not begun: no key picture came");
        m_next.reset();
    }
    if (m_open && !m_endAt) {
        m_endAt = m_now() + kStaysOpen;
        m_changed.notify_all();
    }
}

void Recorder::stop() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_next && !m_stopped) {
        tell(m_next->path, "has not begun: no key picture came");
    }
    m_stopped = true;
    m_next.reset();
    m_ring.clear();
    m_changed.notify_all();
}

// False when all is done and nothing will come any more.
bool Recorder::nextJob(Job& job) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto ready = [this] { return m_stopped || !m_jobs.empty(); };
    while (!ready()) {
        if (!m_endAt) {
            m_changed.wait(lock, [&] { return ready() || m_endAt; });
            continue;
        }
        const auto due = *m_endAt;
        if (!m_changed.wait_until(lock, due, [&] { return ready() || !m_endAt; })) {
            endWhenDue(m_now());
        }
    }
    if (m_jobs.empty()) {
        return false;
    }
    job = std::move(m_jobs.front());
    m_jobs.pop_front();
    m_waitingBytes -= job.kind == Job::Kind::kItem ? job.item.bytes() : 0;
    return true;
}

void Recorder::run() {
    Job job;
    while (nextJob(job)) {
        switch (job.kind) {
            case Job::Kind::kItem:
                m_files.put(job.item);
                break;
            case Job::Kind::kBegin:
                m_files.begin(job.target, std::move(job.format), job.serial);
                break;
            case Job::Kind::kEnd:
                m_files.end(job.reason);
                break;
        }
    }
    m_files.end("the stream was closed");
}

void Recorder::broke(std::uint64_t serial) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_open && m_serial == serial) {
        m_open = false;
        m_endAt.reset();
    }
}

}  // namespace tavrik
