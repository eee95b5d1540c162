#include "tavrik/capture_file.h"
#include "tavrik/capture_writer.h"
#include "tavrik/parameter_sets.h"

namespace tavrik {
namespace {

class RawWriter : public CaptureWriter {
public:
    explicit RawWriter(CaptureFormat format) : m_format(std::move(format)) {}

    bool open(const std::string& path) override { return m_file.open(path); }
    bool picture(const AccessUnitPtr& unit) override {
        if (!m_begun) {
            m_begun = true;
            ParameterSets own(unit->codec);
            const bool lacks_sets = !own.learn(unit->data(), unit->size()) || own.bytes() != m_format.sets;
            if (lacks_sets && !m_file.append(m_format.sets.data(), m_format.sets.size())) {
                return false;
            }
        }
        return m_file.append(unit->data(), unit->size());
    }
    bool sound(const SoundChunkPtr&) override { return true; }
    bool finish() override { return m_file.close(); }
    const std::string& error() const override { return m_file.error(); }

private:
    CaptureFormat m_format;
    CaptureFile m_file;
    bool m_begun = false;
};

}  // namespace

std::unique_ptr<CaptureWriter> makeRawWriter(CaptureFormat format) {
    return std::make_unique<RawWriter>(std::move(format));
}

}  // namespace tavrik
