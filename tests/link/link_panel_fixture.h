// A link panel on a form of its own, with peers at the far ends and look-ups in the test's hands.
#pragma once

#include <QDialog>
#include <QTemporaryDir>
#include <memory>
#include <mutex>
#include <optional>

#include "app/config/my_app_config.h"
#include "forms/connection_form.h"
#include "link/link_panel.h"
#include "link_parts_fixture.h"
#include "tests/fakes/built_form.h"

inline const QString kConnect = QStringLiteral("连接");
inline const QString kDisconnect = QStringLiteral("断开");

// What a receive thread brings.
class Received {
public:
    oskel::ReceiveCallback callback() {
        return [this](const std::uint8_t* data, std::int32_t length, std::int32_t) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_bytes.append(reinterpret_cast<const char*>(data), length);
        };
    }
    QByteArray bytes() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_bytes;
    }

private:
    std::mutex m_mutex;
    QByteArray m_bytes;
};

class LinkPanelPart : public ::testing::Test {
protected:
    ~LinkPanelPart() override {
        if (panel) {
            panel->closeAll();
        }
    }

    void build() {
        panel = std::make_unique<LinkPanel>(
            form, dialog, config, LinkFields{link_handle, ins_handle, link_state},
            LinkActions{control.callback(), ins.callback(), [this] { calls << "opened"; },
                        [this] {
                            calls << "closing";
                            sent_while_closing = oskel::push_bytes("bye", 3, link_handle);
                        },
                        [this] { calls << "changed"; },
                        [this](int handle) {
                            asked << handle;
                            return trouble ? *trouble : oskel::send_trouble(handle);
                        }},
            AddressSources{[] { return QStringList{"127.0.0.1"}; },
                           [this](const AddressSources::Take& take) { looked_up = take; }});
    }
    void aimAt(int port) const {
        form.pod_address->setText("127.0.0.1");
        form.pod_port->setText(QString::number(port));
        form.local_port->setText("0");
        form.local_address->clear();
        form.local_address->addItem("127.0.0.1");
    }
    void openUdp() {
        aimAt(peer.port());
        form.udp->setChecked(true);
        panel->toggleNetwork();
        ASSERT_EQ(link_state, kLinkUdp);
    }
    void openSerial() {
        form.serial_port->setEditText(line.name());
        panel->toggleSerial();
        ASSERT_EQ(link_state, kLinkSerial);
    }
    void send(const QByteArray& bytes) const {
        oskel::push_bytes(bytes.constData(), bytes.size(), link_handle);
    }

    QTemporaryDir folder;
    MyAppConfig config{folder.filePath("appCfg.ini")};
    QDialog dialog;
    Ui::connection ui = builtForm<Ui::connection>(dialog);
    ConnectionForm form{ui};
    int link_handle = -1;
    int ins_handle = -1;
    std::int32_t link_state = kLinkNone;
    Received control;
    Received ins;
    QStringList calls;
    AddressSources::Take looked_up;
    std::optional<oskel::SendTrouble> trouble;  // the transport library's own while not set
    QList<int> asked;
    int sent_while_closing = 0;
    UdpPeer peer;
    SerialPeer line;
    BoxWatcher boxes;
    std::unique_ptr<LinkPanel> panel;
};
