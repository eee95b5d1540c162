#include "map/problem_text.h"

#include <QCoreApplication>
#include <QRegularExpression>

namespace {

struct Rule {
    const char* pattern;
    const char* text;  // %1 and %2: what the pattern caught
};
constexpr Rule kRules[] = {
    {"^the earth file (.*) cannot be read$", QT_TRANSLATE_NOOP("MapProblem", "无法读取地球文件 %1")},
    {"^the earth file is no XML(.*)$", QT_TRANSLATE_NOOP("MapProblem", "地球文件不是有效的 XML%1")},
    {"^the earth file has no map but (.*)$", QT_TRANSLATE_NOOP("MapProblem", "地球文件中没有地图，而是 %1")},
    {"^layer (.*): parts cannot be read: (.*)$",
     QT_TRANSLATE_NOOP("MapProblem", "图层 %1 的部分数据无法读取：%2")},
    {"^layer (.*?): (.*)$", QT_TRANSLATE_NOOP("MapProblem", "图层 %1：%2")},
};

QString tr(const char* text) { return QCoreApplication::translate("MapProblem", text); }

QString translated(const QString& problem) {
    for (const Rule& rule : kRules) {
        const QRegularExpression pattern(QLatin1String(rule.pattern));
        const QRegularExpressionMatch match = pattern.match(problem);
        if (match.hasMatch()) {
            const QString text = tr(rule.text);
            return match.lastCapturedIndex() > 1 ? text.arg(match.captured(1), match.captured(2))
                                                 : text.arg(match.captured(1));
        }
    }
    return problem;
}

}  // namespace

QString problemText(const std::vector<std::string>& problems) {
    QStringList lines;
    for (const std::string& problem : problems) {
        lines << tr(QT_TRANSLATE_NOOP("MapProblem", "地图数据：%1"))
                     .arg(translated(QString::fromStdString(problem)));
    }
    return lines.join(QLatin1Char('\n'));
}
