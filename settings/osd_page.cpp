#include "settings/osd_page.h"

#include <QComboBox>
#include <QRadioButton>
#include <array>

#include "forms/settings_form.h"

namespace {

constexpr std::array<const char*, 3> kColours = {QT_TRANSLATE_NOOP("OsdPage", "白色"),
                                                 QT_TRANSLATE_NOOP("OsdPage", "绿色"),
                                                 QT_TRANSLATE_NOOP("OsdPage", "黄色")};
constexpr std::array<const char*, 2> kLanguages = {QT_TRANSLATE_NOOP("OsdPage", "中文"),
                                                   QT_TRANSLATE_NOOP("OsdPage", "英文")};
constexpr int kStartColour = 1;

}  // namespace

OsdPage::OsdPage(const SettingsForm& form) : m_form(form) {
    // The texts come with the language.
    for (std::size_t i = 0; i < kColours.size(); ++i) {
        m_form.osd_colour->addItem(QString());
    }
    for (std::size_t i = 0; i < kLanguages.size(); ++i) {
        m_form.osd_language->addItem(QString());
    }
}

void OsdPage::load() {
    m_form.osd_colour->setCurrentIndex(kStartColour);
    m_form.osd_geographic->setChecked(true);
    m_form.osd_decimal_degrees->setChecked(true);
}

void OsdPage::retranslate() {
    for (std::size_t i = 0; i < kColours.size(); ++i) {
        m_form.osd_colour->setItemText(static_cast<int>(i), tr(kColours[i]));
    }
    for (std::size_t i = 0; i < kLanguages.size(); ++i) {
        m_form.osd_language->setItemText(static_cast<int>(i), tr(kLanguages[i]));
    }
}

void OsdPage::setLanguage(int language) { m_form.osd_language->setCurrentIndex(language); }

sorvane::Command OsdPage::styleCommand() const {
    return sorvane::osdStyleCommand(m_form.osd_colour->currentIndex(), m_form.osd_language->currentIndex());
}
