#include "telemetry/intake.h"

#include <QCoreApplication>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "app/events/my_event.h"
#include "base/bytes.h"
#include "oskel/oskel.h"
#include "telemetry/ins_decode.h"
#include "telemetry/link_callbacks.h"

namespace {

// A variable frame's code whose 60 data bytes are a telemetry record.
constexpr std::uint16_t kTelemetryCode = 20;

struct FreeBlock {
    void operator()(void* block) const { std::free(block); }
};
using Payload = std::unique_ptr<void, FreeBlock>;

// The event keeps no pointer to what is freed here.
Payload takePayload(QMyEvent& e) {
    Payload payload(e.data);
    e.data = nullptr;
    return payload;
}

}  // namespace

Intake::Intake(const IntakeFields& fields, QObject& receiver) : m_fields(fields), m_receiver(receiver) {}

Intake::~Intake() { closeInterfacePort(); }

void Intake::takeRecord(QMyEvent& e) {
    const Payload payload = takePayload(e);
    if (payload == nullptr) {
        return;
    }
    std::memcpy(&m_fields.telemetry, payload.get(), sizeof m_fields.telemetry);
    m_fields.tracking = m_fields.telemetry.servo_state == sorvane::kServoTracking;
    emit recordTaken();
}

void Intake::takeReply(QMyEvent& e) {
    const Payload payload = takePayload(e);
    const int size = e.size - 2;
    if (payload == nullptr || size < 0) {
        return;
    }
    const auto* bytes = static_cast<const unsigned char*>(payload.get());
    const std::uint16_t code = sorvane::loadU16(bytes);
    const unsigned char* data = bytes + 2;
    if (code == kTelemetryCode && size == static_cast<int>(sorvane::kTelemetryRecordSize)) {
        // Posted, so it follows this event; its positions are integers already.
        if (void* record = std::malloc(sorvane::kTelemetryRecordSize)) {
            std::memcpy(record, data, sorvane::kTelemetryRecordSize);
            QCoreApplication::postEvent(&m_receiver, new QMyEvent(EVT_TELEMETRY, nullptr, record, 0));
        }
    }
    emit replyTaken(code, data, size);
}

void Intake::takeInsFrame(QMyEvent& e) {
    const Payload payload = takePayload(e);
    if (payload == nullptr) {
        return;
    }
    const auto* bytes = static_cast<const std::uint8_t*>(payload.get());
    sorvane::decodeInsPayload(bytes, m_fields.nav_block);
    emit insTaken(sorvane::insFix(bytes, m_fields.nav_block));
}

void Intake::takeNavBlock(QMyEvent& e) {
    const Payload payload = takePayload(e);
    if (payload == nullptr) {
        return;
    }
    std::memcpy(&m_fields.nav_block, payload.get(), sizeof m_fields.nav_block);
    emit navBlockTaken();
}

void Intake::openInterfacePort(int port) {
    m_interfaceHandle = oskel::dialDatagram("", 0, "", port, onInterfaceData);
}

void Intake::closeInterfacePort() {
    if (m_interfaceHandle > 0) {
        oskel::hang_up(m_interfaceHandle);
    }
    m_interfaceHandle = -1;
}
