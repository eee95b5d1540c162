// The control link and the inertial unit's port: the link groups of the connection dialog.
#pragma once

#include <QCoreApplication>
#include <cstdint>
#include <functional>

#include "link/link_state.h"
#include "link/local_addresses.h"
#include "oskel/oskel.h"

class MyAppConfig;
class QComboBox;
class QWidget;
struct ConnectionForm;

// The window's fields that the panel writes.
struct LinkFields {
    int& link_handle;
    int& ins_handle;
    std::int32_t& link_state;  // a LinkState
};

// What the panel asks of its surroundings. All must be set.
struct LinkActions {
    oskel::ReceiveCallback control_data;  // given to every opening of the control link
    oskel::ReceiveCallback ins_data;      // given to every opening of the inertial unit's port
    std::function<void()> opened;         // the link stands: what the protocol mode asks for starts
    std::function<void()> closing;        // the link is about to close: the timers end
    std::function<void()> state_changed;  // after each attempt
    // What is wrong with sending on a handle of the transport library; asked again and again.
    std::function<oskel::SendTrouble(int handle)> send_trouble = oskel::send_trouble;
};

// Form, dialog, configuration and fields outlive the panel. GUI thread.
class LinkPanel {
    Q_DECLARE_TR_FUNCTIONS(Korvath)

public:
    LinkPanel(const ConnectionForm& form, QWidget& dialog, MyAppConfig& config, const LinkFields& fields,
              LinkActions actions, AddressSources addresses = systemAddresses());

    // Both serial port lists and the local addresses.
    void fillLists();
    void refreshSerialPorts();
    void refreshInsPorts();

    // The four buttons: each opens what is closed and closes what is open.
    void toggleSerial();
    void toggleNetwork();
    void toggleIns();
    // UDP has a local port and a local address, TCP has neither.
    void onNetKindChanged(bool udp);

    // Button texts and the lines under the groups by the present state; after each retranslation and at the
    // dialog's opening.
    void refreshButtons();
    // The link's state as the status bar shows it; nothing for TCP, on purpose.
    QString stateText() const;
    // Asks why the open link cannot send, and says so under its group until it can; called again and again.
    // Texts of state and buttons do not change by it.
    void showSendTrouble();
    // The same in words; empty when nothing is known to be wrong.
    QString sendTrouble() const { return troubleText(m_trouble); }
    // Closes both ports without a word, when the window closes.
    void closeAll();
    // What the edits hold, into the configuration.
    void store();

private:
    void fillFromConfig();
    void closeLink();
    void opened(int handle, LinkState state);
    void lockAddresses();
    bool portsAreRight(bool local);
    void openUdp();
    void openTcp();
    void writeTrouble();
    static QString troubleText(oskel::SendTrouble trouble);
    void warnPortFailed(const QString& port);
    bool onNetwork() const;

    const ConnectionForm& m_form;
    QWidget& m_dialog;
    MyAppConfig& m_config;
    LinkFields m_fields;
    LinkActions m_actions;
    LocalAddresses m_addresses;
    oskel::SendTrouble m_trouble = oskel::SendTrouble::kNone;  // the one shown
};
