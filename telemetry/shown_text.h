// A value's text as a label shows it.
#pragma once

#include <QCoreApplication>
#include <QString>

#include "telemetry/panel_rows.h"

// Words in the language of the application. Not for kKeep.
inline QString shownText(const sorvane::PanelText& text) {
    return text.kind == sorvane::PanelText::Kind::kWord ? QCoreApplication::translate("Korvath", text.word)
                                                        : QString::fromUtf8(text.number);
}
