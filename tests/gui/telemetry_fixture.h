// The window with its status pane shown, fed with events as the receive threads post them.
#pragma once

#include <QLabel>
#include <cstdlib>
#include <cstring>
#include <string>

#include "korvath_fixture.h"
#include "tests/telemetry/panels_by_hand.h"
#include "widgets/my_trans_dlg.h"

class Telemetry : public KorvathTest {
protected:
    void SetUp() override {
        start();
        in().m_statPane()->show();
        ui().widget_stat->show();
        ASSERT_TRUE(waitFor([this] { return ui().widget_stat->isVisible(); }));
    }

    static void* block(const void* bytes, std::size_t size) {
        void* copy = std::malloc(size > 0 ? size : 1);
        if (size > 0) {
            std::memcpy(copy, bytes, size);
        }
        return copy;
    }
    void send(int type, const void* bytes, std::size_t size, std::int32_t event_size = 0) {
        QCoreApplication::postEvent(window.get(),
                                    new QMyEvent(type, nullptr, block(bytes, size), event_size));
        QCoreApplication::sendPostedEvents(window.get());
    }
    void report(const sorvane::TelemetryRecord& record) { send(EVT_TELEMETRY, &record, sizeof record); }
    void reply(const Bytes& payload) {
        send(EVT_LINK_FRAME, payload.data(), payload.size(), static_cast<std::int32_t>(payload.size()));
    }

    std::string text(const char* name) const {
        const auto* label = find<QLabel>(name);
        return label != nullptr ? label->text().toStdString() : std::string("(no label)");
    }
    std::string caption(const char* name) const { return text((std::string(name) + "_caption").c_str()); }
};
