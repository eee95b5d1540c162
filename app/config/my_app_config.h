// All persistent settings: appCfg.ini beside the program, one key table.
#pragma once

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <memory>

#include "app/config/config_keys.h"

// Plain copies of the keys' values, one public field a key under the key's name: an edit reaches the file at
// the next save. Holds the table's defaults until the first load. GUI thread only; no change signals.
class MyAppConfig : public QObject {
    Q_OBJECT

public:
    // Joystick maps: function number to the physical inputs bound to it.
    using CommandMap = QMap<int, QVariantList>;

    explicit MyAppConfig(QObject* parent = nullptr);
    // For tests: another file than appCfg.ini beside the program.
    explicit MyAppConfig(const QString& file, QObject* parent = nullptr);
    ~MyAppConfig() override;

    // Reads every key with its default and holds it to its limits.
    void load();
    // Writes every saved key; the file itself is replaced whole, so that a power cut leaves the old one or
    // the new one. A file that cannot be written costs a debug line.
    void save();

#define SORVANE_CONFIG_FIELD(section, key, type, fallback, limits, persistence) type key{};
    SORVANE_CONFIG_KEYS(SORVANE_CONFIG_FIELD)
#undef SORVANE_CONFIG_FIELD

private:
    std::unique_ptr<QSettings> m_file;  // null: there is nothing that could be read or written
};
