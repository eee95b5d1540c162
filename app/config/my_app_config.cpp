#include "app/config/my_app_config.h"

#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <algorithm>
#include <limits>
#include <type_traits>

namespace {

using CommandMap = MyAppConfig::CommandMap;

QString besideProgram(const char* suffix) {
    return QCoreApplication::applicationDirPath() + QLatin1String(suffix);
}

QString podAddress(const char* track) {
    return QStringLiteral("rtsp://192.168.1.160:554/live/") + QLatin1String(track);
}

// What the last two columns of the table say.
struct Limits {
    int least = std::numeric_limits<int>::min();
    int most = std::numeric_limits<int>::max();
    bool not_empty = false;
};
constexpr Limits any() { return {}; }
constexpr Limits between(int least, int most) { return {least, most, false}; }
constexpr Limits atLeast(int least) { return {least, std::numeric_limits<int>::max(), false}; }
constexpr Limits filled() {
    Limits limits;
    limits.not_empty = true;
    return limits;
}
constexpr bool kSaved = true;
constexpr bool kKept = false;

CommandMap toCommandMap(const QVariant& value) {
    CommandMap map;
    for (const QJsonValue& element : value.toJsonArray()) {
        const QJsonObject object = element.toObject();
        map[object[QStringLiteral("pid")].toInt()] = object[QStringLiteral("cmd")].toArray().toVariantList();
    }
    return map;
}

template <typename T>
QVariant toVariant(const T& value) {
    return QVariant::fromValue(value);
}
template <>
QVariant toVariant(const CommandMap& map) {
    QJsonArray array;
    for (auto it = map.begin(); it != map.end(); ++it) {
        array.append(QJsonObject{{QStringLiteral("pid"), it.key()},
                                 {QStringLiteral("cmd"), QJsonArray::fromVariantList(it.value())}});
    }
    return QVariant(array);
}

template <typename T>
T fromVariant(const QVariant& value) {
    if constexpr (std::is_same_v<T, CommandMap>) {
        return toCommandMap(value);
    } else {
        return value.value<T>();
    }
}

template <typename T>
T limited(const T& value, const T& fallback, const Limits& limits) {
    if constexpr (std::is_same_v<T, int>) {
        return std::clamp(value, limits.least, limits.most);
    } else if constexpr (std::is_same_v<T, QString>) {
        return limits.not_empty && value.isEmpty() ? fallback : value;
    } else {
        return value;
    }
}

// A thousand times what the station writes; more takes the toolkit seconds to read and again to write.
constexpr qint64 kMostBytes = 1 << 20;

// Null when the file is not one that can be opened without waiting (a pipe, a device). One that is far too
// large is put aside under another name.
std::unique_ptr<QSettings> openSettings(const QString& path) {
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) {
        qDebug("settings: %s is no file", qPrintable(path));
        return nullptr;
    }
    if (info.size() > kMostBytes) {
        const QString aside = path + QStringLiteral(".bak");
        QFile::remove(aside);
        const bool moved = QFile::rename(path, aside);
        qDebug("settings: %s is too large, %s", qPrintable(path),
               moved ? qPrintable(QStringLiteral("moved to ") + aside) : "not used");
        if (!moved) {
            return nullptr;
        }
    }
    return std::make_unique<QSettings>(path, QSettings::IniFormat);
}

}  // namespace

MyAppConfig::MyAppConfig(QObject* parent)
    : MyAppConfig(QCoreApplication::applicationDirPath() + QStringLiteral("/appCfg.ini"), parent) {}

MyAppConfig::MyAppConfig(const QString& file, QObject* parent) : QObject(parent), m_file(openSettings(file)) {
#define SORVANE_CONFIG_DEFAULT(section, key, type, fallback, limits, persistence) key = fallback;
    SORVANE_CONFIG_KEYS(SORVANE_CONFIG_DEFAULT)
#undef SORVANE_CONFIG_DEFAULT
}

MyAppConfig::~MyAppConfig() = default;

void MyAppConfig::load() {
    if (m_file != nullptr) {
        m_file->setIniCodec("utf-8");
    }
    const auto read = [this](const char* name, auto& field, const auto& fallback, const Limits& limits) {
        using T = std::decay_t<decltype(field)>;
        const QVariant value = m_file != nullptr ? m_file->value(QLatin1String(name), toVariant<T>(fallback))
                                                 : toVariant<T>(fallback);
        field = limited<T>(fromVariant<T>(value), fallback, limits);
    };
#define SORVANE_CONFIG_READ(section, key, type, fallback, limits, persistence) \
    read(#section "/" #key, key, type(fallback), limits);
    SORVANE_CONFIG_KEYS(SORVANE_CONFIG_READ)
#undef SORVANE_CONFIG_READ
}

void MyAppConfig::save() {
    if (m_file == nullptr) {
        qDebug("settings: not saved");
        return;
    }
    m_file->setIniCodec("utf-8");
    const auto write = [this](const char* name, const auto& field, bool persistent) {
        if (persistent) {
            m_file->setValue(QLatin1String(name), toVariant(field));
        }
    };
#define SORVANE_CONFIG_WRITE(section, key, type, fallback, limits, persistence) \
    write(#section "/" #key, key, persistence);
    SORVANE_CONFIG_KEYS(SORVANE_CONFIG_WRITE)
#undef SORVANE_CONFIG_WRITE
    m_file->sync();
    if (m_file->status() == QSettings::AccessError) {
        qDebug("settings: %s cannot be written", qPrintable(m_file->fileName()));
    }
}
