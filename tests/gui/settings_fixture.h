// The settings dialog in its window, closed and stored as an operator does it.
#pragma once

#include <QComboBox>

#include "link_peer.h"

class SettingsTest : public LinkTest {
protected:
    void SetUp() override { start(); }

    PlayerSettingsDlg& settings() const { return *in().m_settings(); }
    Ui::dialogSettings& form() const { return *settings().ui; }
    MyAppConfig& config() const { return window->config(); }

    void show() {
        ui().action_fileSettings->trigger();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&settings(), 10000));
    }
    void close() {
        form().toolButton->click();
        ASSERT_FALSE(settings().isVisible());
    }
    void restart() {
        stop();
        open();
    }
    void restartWith(const QMap<QString, QVariant>& values) {
        stop();
        start(values);
    }
    QVariant stored(const char* key) const {
        QSettings file(configPath(), QSettings::IniFormat);
        file.setIniCodec("utf-8");
        return file.value(key);
    }
    static QStringList items(const QComboBox* box) {
        QStringList texts;
        for (int i = 0; i < box->count(); ++i) {
            texts << box->itemText(i);
        }
        return texts;
    }
    template <typename T>
    T* onPage(QWidget* page, const char* name) const {
        return page->findChild<T*>(QLatin1String(name));
    }
};
