#include "map/problem_text.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <optional>

namespace {

constexpr int kMostLines = 5;
// What is longer says no more to an operator: its beginning and its end are kept.
constexpr int kLongest = 160;

struct Rule {
    const char* pattern;
    const char* text;  // %1 and %2: what the pattern caught
};
constexpr Rule kProblems[] = {
    {"^the earth file (.*) cannot be read$", QT_TRANSLATE_NOOP("MapProblem", "无法读取地球文件 %1")},
    {"^the earth file is no XML(.*)$", QT_TRANSLATE_NOOP("MapProblem", "地球文件不是有效的 XML%1")},
    {"^the earth file has no map but (.*)$", QT_TRANSLATE_NOOP("MapProblem", "地球文件中没有地图，而是 %1")},
    {"^the map's type (.*) is shown as a globe$",
     QT_TRANSLATE_NOOP("MapProblem", "地图类型 %1 按地球仪显示")},
};
// Of one layer. The last are those of the libraries that read it.
constexpr Rule kReasons[] = {
    {"^has no url$", QT_TRANSLATE_NOOP("MapProblem", "没有给出地址（url）")},
    {"^(.*) is missing$", QT_TRANSLATE_NOOP("MapProblem", "缺少 %1")},
    {"^(.*) is no number: (.*)$", QT_TRANSLATE_NOOP("MapProblem", "%1 不是数字：%2")},
    {"^has no overviews", QT_TRANSLATE_NOOP("MapProblem", "没有概览图，只在近处显示（可用 gdaladdo 生成）")},
    {"^no reason is given$", QT_TRANSLATE_NOOP("MapProblem", "原因不明")},
    {"^(.*): no driver knows it$", QT_TRANSLATE_NOOP("MapProblem", "%1：没有能读取它的驱动")},
    {"^(.*): has no picture in it$", QT_TRANSLATE_NOOP("MapProblem", "%1：其中没有图像")},
    {"^(.*): does not say where on the earth it lies$",
     QT_TRANSLATE_NOOP("MapProblem", "%1：没有地理位置信息")},
    {"^(.*): cannot be brought to WGS 84$", QT_TRANSLATE_NOOP("MapProblem", "%1：无法转换到 WGS 84")},
    {"^(.*): is no description of a tile map$",
     QT_TRANSLATE_NOOP("MapProblem", "%1：不是瓦片地图的说明文件")},
    {"^(.*?): .*not recognized as (?:being in )?a supported file format",
     QT_TRANSLATE_NOOP("MapProblem", "%1：无法识别的文件格式")},
    {"^(.*?): .*(?:No such file or directory|does not exist)",
     QT_TRANSLATE_NOOP("MapProblem", "%1：文件不存在")},
    {"^(.*): there is nothing at this address$", QT_TRANSLATE_NOOP("MapProblem", "%1：该地址没有内容")},
    {"^(.*): cannot be read$", QT_TRANSLATE_NOOP("MapProblem", "%1：无法读取")},
    {"(?:^|: )a tile is no picture$", QT_TRANSLATE_NOOP("MapProblem", "有瓦片不是图像")},
    {"(?:^|: )this system fetches nothing from the web$",
     QT_TRANSLATE_NOOP("MapProblem", "本系统无法从网络读取")},
    {"HTTP (?:response|error) code *: *([1-9][0-9]*)",
     QT_TRANSLATE_NOOP("MapProblem", "服务器拒绝（HTTP %1）")},
    {"(?:Could not|Couldn't) resolve host", QT_TRANSLATE_NOOP("MapProblem", "找不到服务器")},
    {"(?:Failed to|Couldn't) connect|Connection refused", QT_TRANSLATE_NOOP("MapProblem", "无法连接服务器")},
    {"timed out", QT_TRANSLATE_NOOP("MapProblem", "服务器没有响应")},
};

QString tr(const char* text) { return QCoreApplication::translate("MapProblem", text); }

template <std::size_t kCount>
std::optional<QString> byRule(const Rule (&rules)[kCount], const QString& text) {
    for (const Rule& rule : rules) {
        const QRegularExpressionMatch match = QRegularExpression(QLatin1String(rule.pattern)).match(text);
        if (!match.hasMatch()) {
            continue;
        }
        switch (match.lastCapturedIndex()) {
            case 0:
                return tr(rule.text);
            case 1:
                return tr(rule.text).arg(match.captured(1));
            default:
                return tr(rule.text).arg(match.captured(1), match.captured(2));
        }
    }
    return {};
}

QString reasonText(const QString& reason) {
    static const QLatin1String kParts("parts cannot be read: ");
    if (reason.startsWith(kParts)) {
        return tr(QT_TRANSLATE_NOOP("MapProblem", "部分数据无法读取：%1"))
            .arg(reasonText(reason.mid(kParts.size())));
    }
    const std::optional<QString> known = byRule(kReasons, reason);
    return known ? *known : tr(QT_TRANSLATE_NOOP("MapProblem", "读取失败：%1")).arg(reason);
}

QString translated(const QString& problem) {
    const QRegularExpressionMatch layer =
        QRegularExpression(QStringLiteral("^layer (.*?): (.*)$")).match(problem);
    if (layer.hasMatch()) {
        return tr(QT_TRANSLATE_NOOP("MapProblem", "图层 %1：%2"))
            .arg(layer.captured(1), reasonText(layer.captured(2)));
    }
    return byRule(kProblems, problem).value_or(problem);
}

QString shortened(const QString& line) {
    return line.size() <= kLongest
               ? line
               : line.left(kLongest / 2) + QStringLiteral(" … ") + line.right(kLongest / 2);
}

}  // namespace

QString problemText(const std::vector<std::string>& problems) {
    QStringList lines;
    for (const std::string& problem : problems) {
        // Reasons of libraries may have several lines.
        const QString line = translated(QString::fromStdString(problem).simplified());
        lines << tr(QT_TRANSLATE_NOOP("MapProblem", "地图数据：%1")).arg(shortened(line));
    }
    if (lines.size() > kMostLines) {
        const int more = lines.size() - kMostLines + 1;
        lines = lines.mid(0, kMostLines - 1);
        lines << tr(QT_TRANSLATE_NOOP("MapProblem", "另有 %1 条")).arg(more);
    }
    return lines.join(QLatin1Char('\n'));
}
