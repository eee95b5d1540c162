#include "settings/osd_page.h"

#include <QComboBox>
#include <QRadioButton>
#include <QSignalBlocker>
#include <array>
#include <vector>

#include "base/bytes.h"
#include "forms/settings_form.h"
#include "link/osd_words.h"
#include "widgets/SwitchControl/switch_control.h"

namespace {

constexpr std::array<const char*, 3> kColours = {QT_TRANSLATE_NOOP("OsdPage", "白色"),
                                                 QT_TRANSLATE_NOOP("OsdPage", "绿色"),
                                                 QT_TRANSLATE_NOOP("OsdPage", "黄色")};
constexpr std::array<const char*, 2> kLanguages = {QT_TRANSLATE_NOOP("OsdPage", "中文"),
                                                   QT_TRANSLATE_NOOP("OsdPage", "英文")};
constexpr int kStartColour = 1;

// Bytes 0 and 1 of the reply.
constexpr unsigned char kOfDisplay = 1;
constexpr unsigned char kItems = 3;
constexpr unsigned char kStyle = 4;

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

void OsdPage::linkOpened() { m_form.osd_unread->show(); }

void OsdPage::onReply(std::uint16_t /*code*/, const unsigned char* data, int size) {
    constexpr int kHead = 2;
    if (size < kHead + 2 || data[0] != kOfDisplay) {
        return;
    }
    if (data[1] == kItems && size >= kHead + 4) {
        showItems(sorvane::loadU32(data + kHead));
        m_form.osd_unread->hide();
    } else if (data[1] == kStyle) {
        showStyle(sorvane::loadU16(data + kHead));
    }
}

// Without a signal: what the pod tells is no choice of the operator's, and no command may follow.
void OsdPage::showItems(std::uint32_t word) {
    std::vector<QSignalBlocker> quiet;
    for (QRadioButton* choice : m_form.osd_page->findChildren<QRadioButton*>()) {
        quiet.emplace_back(choice);
    }
    // The other of each pair of radio buttons goes on where the bit is clear.
    m_form.osd_geographic->setChecked(true);
    m_form.osd_decimal_degrees->setChecked(true);
    sorvane::showOsdWord(word, [this](const char* widget, bool on) {
        const QString name = QString::fromLatin1(widget);
        if (auto* control = m_form.osd_page->findChild<SwitchControl*>(name)) {
            control->setToggle(on);
        } else if (auto* choice = m_form.osd_page->findChild<QRadioButton*>(name); choice != nullptr && on) {
            choice->setChecked(true);
        }
    });
}

void OsdPage::showStyle(unsigned style) {
    const QSignalBlocker colour(m_form.osd_colour);
    const QSignalBlocker language(m_form.osd_language);
    m_form.osd_colour->setCurrentIndex(static_cast<int>(style & 0x7U));
    m_form.osd_language->setCurrentIndex(static_cast<int>((style >> 3U) & 0x1U));
}

void OsdPage::setLanguage(int language) { m_form.osd_language->setCurrentIndex(language); }

sorvane::Command OsdPage::styleCommand() const {
    return sorvane::osdStyleCommand(m_form.osd_colour->currentIndex(), m_form.osd_language->currentIndex());
}
