#include "widgets/ui_fonts.h"

#include <QStringList>

QFont applicationFont() {
    constexpr int kPoints = 10;  // as in the style sheets
    QFont font;
    font.setPointSize(kPoints);
    font.setStyleStrategy(QFont::PreferAntialias);
    font.setHintingPreference(QFont::PreferFullHinting);
    return font;
}

void installFontSubstitutes() {
    const QStringList sans = {QStringLiteral("Noto Sans CJK SC"), QStringLiteral("WenQuanYi Micro Hei")};
    const QStringList serif = {QStringLiteral("Noto Serif CJK SC"), QStringLiteral("Noto Sans CJK SC")};
    const QStringList mono = {QStringLiteral("DejaVu Sans Mono"), QStringLiteral("Noto Sans Mono CJK SC"),
                              QStringLiteral("monospace")};
    for (const char* family : {"Microsoft YaHei UI", "Microsoft YaHei", "微软雅黑"}) {
        QFont::insertSubstitutions(QString::fromUtf8(family), sans);
    }
    for (const char* family : {"SimSun", "宋体"}) {
        QFont::insertSubstitutions(QString::fromUtf8(family), serif);
    }
    QFont::insertSubstitutions(QStringLiteral("OCR A Std"), mono);
}
