// The hub's share of the receive path: what it does with each decoded frame, and the interface port.
#include <QCoreApplication>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "base/bytes.h"
#include "oskel/oskel.h"
#include "settings/player_settings_dlg.h"
#include "telemetry/ins_decode.h"
#include "telemetry/link_callbacks.h"
#include "telemetry/status_pages.h"
#include "ui_korvath.h"

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

void Korvath::onTelemetry(QMyEvent* e) {
    if (e == nullptr || e->data == nullptr) return;
    std::memcpy(&m_telemetry, takePayload(*e).get(), sizeof m_telemetry);
    m_tracking = m_telemetry.servo_state == sorvane::kServoTracking;
    ui->pushButton_132->setText(recordButtonText(m_telemetry));
    // A hidden pane costs nothing; when shown it catches up with the next report.
    if (ui->widget_stat->isVisible()) refreshPanels();
}

void Korvath::onLinkFrame(QMyEvent* e) {
    const Payload payload = takePayload(*e);
    const int data_size = e->size - 2;
    if (payload == nullptr || data_size < 0) return;
    const auto* bytes = static_cast<const unsigned char*>(payload.get());
    const std::uint16_t code = sorvane::loadU16(bytes);
    const unsigned char* data = bytes + 2;
    if (code == kTelemetryCode && data_size == static_cast<int>(sorvane::kTelemetryRecordSize)) {
        // Posted, so it follows this event; its positions are integers already.
        if (void* record = std::malloc(sorvane::kTelemetryRecordSize)) {
            std::memcpy(record, data, sorvane::kTelemetryRecordSize);
            QCoreApplication::postEvent(this, new QMyEvent(EVT_TELEMETRY, nullptr, record, 0));
        }
    }
    m_settings->on_recv_single_frame(code, data, data_size);
}

// Nothing is displayed: the aircraft page follows the interface frames alone.
void Korvath::onInsFrame(QMyEvent* e) {
    const Payload payload = takePayload(*e);
    if (payload == nullptr) return;
    sorvane::decodeInsPayload(static_cast<const std::uint8_t*>(payload.get()), m_navBlock);
}

void Korvath::onNavBlock(QMyEvent* e) {
    const Payload payload = takePayload(*e);
    if (payload == nullptr) return;
    std::memcpy(&m_navBlock, payload.get(), sizeof m_navBlock);
    refreshAircraftPage();
}

void Korvath::openInterfacePort() {
    m_interfaceHandle = oskel::dialDatagram("", 0, "", config().recv_port, onInterfaceData);
}

void Korvath::closeInterfacePort() {
    if (m_interfaceHandle > 0) oskel::hang_up(m_interfaceHandle);
    m_interfaceHandle = -1;
}
