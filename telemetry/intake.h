// What becomes of each decoded frame: the window's copies of what the pod and the aircraft report.
#pragma once

#include <QObject>
#include <cstdint>

#include "link/nav_block.h"
#include "telemetry/ins_decode.h"
#include "telemetry/telemetry_record.h"

class QMyEvent;

// The window's fields that the intake writes.
struct IntakeFields {
    sorvane::TelemetryRecord& telemetry;
    sorvane::NavBlock& nav_block;
    bool& tracking;
};

// Takes the payloads of events 1004, 1005, 1007, 1008 and 1010 and frees them; an event without a payload
// changes nothing. Fields outlive it. GUI thread.
class Intake : public QObject {
    Q_OBJECT

public:
    // `receiver` gets the record that a reply may carry, as an event of its own behind that reply.
    Intake(const IntakeFields& fields, QObject& receiver);
    // Closes the interface port.
    ~Intake() override;

    void takeRecord(QMyEvent& e);
    void takeReply(QMyEvent& e);
    // Nothing is displayed by it: the aircraft page follows the interface frames alone.
    void takeInsFrame(QMyEvent& e);
    void takeNavBlock(QMyEvent& e);

    // The UDP port of the interface feed; taken from anybody. A port that cannot be opened says nothing.
    void openInterfacePort(int port);
    void closeInterfacePort();
    // The port's handle; -1 or below while it is closed.
    int interfaceHandle() const { return m_interfaceHandle; }

signals:
    // The fields hold a new report.
    void recordTaken();
    // A reply of the pod: `size` bytes (0 or more) behind its code, valid during the call.
    void replyTaken(std::uint16_t code, const unsigned char* data, int size);
    // The inertial unit has written the navigation block.
    void insTaken(const sorvane::AircraftFix& fix);
    // The interface feed has written the navigation block.
    void navBlockTaken();

private:
    IntakeFields m_fields;
    QObject& m_receiver;
    int m_interfaceHandle = -1;
};
