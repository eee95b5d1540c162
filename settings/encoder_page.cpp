#include "settings/encoder_page.h"

#include <QComboBox>
#include <QLineEdit>
#include <QVariant>

#include "forms/settings_form.h"
#include "widgets/sheets.h"

namespace {

// A style sheet's colour covers the palette's for placeholders: an empty field tells the sheet that it is
// empty.
void muteWhileEmpty(QLineEdit* edit) {
    const auto tell = [edit] { setStyleProperty(*edit, "empty", edit->text().isEmpty()); };
    tell();
    QObject::connect(edit, &QLineEdit::textChanged, edit, tell);
}

}  // namespace

EncoderPage::EncoderPage(const SettingsForm& form) : m_form(form) {
    m_form.codec->addItems({QStringLiteral("H.264"), QStringLiteral("H.265")});
    for (QLineEdit* edit : {m_form.custom_text_x, m_form.custom_text_y, m_form.custom_text}) {
        muteWhileEmpty(edit);
    }
}

void EncoderPage::load() { m_form.codec->setCurrentIndex(0); }
