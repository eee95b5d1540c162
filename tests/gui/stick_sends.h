// The window with a linked controller, and what it sends in a form that can be compared.
#pragma once

#include "stick_fixture.h"

inline const QString kStop112 = QString::fromLatin1(rateFrame(0, 0).toHex());
inline const QString kStop69 = QString::fromLatin1(fourBytes(69, "00000000").toHex());

inline QString text(const QByteArray& frame) { return QString::fromLatin1(frame.toHex()); }

// Code, parameters and rates of a fixed frame.
inline QString fixedPart(const QByteArray& frame) {
    return frame.size() == 44 ? text(frame.mid(2, 5)) + ' ' + text(frame.mid(37, 5)) : text(frame);
}
inline QStringList fixedParts(const std::vector<QByteArray>& frames) {
    QStringList parts;
    for (const QByteArray& frame : frames) {
        parts << fixedPart(frame);
    }
    return parts;
}

class StickSends : public StickTest {
protected:
    void begin(bool single = true) {
        startStick({{"common/send_single", single}});
        link();
        plugIn();
        in().m_telemetry().display_mode = 1;
    }
};
