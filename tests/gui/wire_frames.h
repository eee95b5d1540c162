// Frames of the link as they stand on the wire, built by the format alone.
#pragma once

#include <QByteArray>
#include <QStringList>
#include <vector>

#include "tests/fakes/link_peers.h"

// A variable frame as it stands on the wire, by the format alone.
inline QByteArray variableFrame(int code, const QByteArray& payload) {
    QByteArray checked;
    checked += static_cast<char>(payload.size() + 2);
    checked += static_cast<char>(code & 0xFF);
    checked += static_cast<char>(code >> 8);
    checked += payload;
    char sum = 0;
    for (const char byte : checked) {
        sum = static_cast<char>(sum ^ byte);
    }
    return hex("fb2caa") + checked + sum;
}
inline QByteArray fourBytes(int code, const char* parameters) { return variableFrame(code, hex(parameters)); }
inline QByteArray rateFrame(int x, int y) {
    QByteArray rates;
    for (const int rate : {x, y}) {
        rates += static_cast<char>(rate & 0xFF);
        rates += static_cast<char>((rate >> 8) & 0xFF);
    }
    return variableFrame(112, rates);
}
inline QStringList inHex(const std::vector<QByteArray>& frames) {
    QStringList texts;
    for (const QByteArray& frame : frames) {
        texts << QString::fromLatin1(frame.toHex());
    }
    return texts;
}
