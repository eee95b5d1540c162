#include "settings/encoder_page.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVariant>

#include "forms/settings_form.h"
#include "settings/encoder_words.h"
#include "widgets/sheets.h"

namespace {

// A style sheet's colour covers the palette's for placeholders: an empty field tells the sheet that it is
// empty.
void muteWhileEmpty(QLineEdit* edit) {
    const auto tell = [edit] { setStyleProperty(*edit, "empty", edit->text().isEmpty()); };
    tell();
    QObject::connect(edit, &QLineEdit::textChanged, edit, tell);
}

QByteArray toArray(const std::vector<std::uint8_t>& data) {
    return {reinterpret_cast<const char*>(data.data()), static_cast<int>(data.size())};
}

}  // namespace

EncoderPage::EncoderPage(const SettingsForm& form) : m_form(form) {
    m_form.codec->addItems({QStringLiteral("H.264"), QStringLiteral("H.265")});
    for (QLineEdit* edit : {m_form.custom_text_x, m_form.custom_text_y, m_form.custom_text}) {
        muteWhileEmpty(edit);
    }
    m_form.folder_text->setMaxLength(sorvane::kLongestFolderText);
    m_form.custom_text->setMaxLength(sorvane::kLongestCustomText);
    // The same item chosen again is sent again: the pod may have another by now.
    connect(m_form.codec, QOverload<int>::of(&QComboBox::activated), this,
            [this](int index) { emit timedCommandRequested(sorvane::codecCommand(index)); });
    connect(m_form.bit_rate_set, &QPushButton::clicked, this,
            [this] { emit timedCommandRequested(sorvane::bitRateCommand(m_form.bit_rate->text().toInt())); });
    connect(m_form.folder_by_text, &QRadioButton::toggled, m_form.folder_text, &QWidget::setEnabled);
    connect(m_form.folder_set, &QPushButton::clicked, this, &EncoderPage::nameFolder);
    connect(m_form.custom_text_set, &QPushButton::clicked, this, &EncoderPage::sendCustomText);
}

void EncoderPage::load() {
    m_form.codec->setCurrentIndex(0);
    m_form.folder_text->setEnabled(m_form.folder_by_text->isChecked());
}

void EncoderPage::nameFolder() {
    const std::string text = m_form.folder_text->text().toStdString();
    emit frameRequested(sorvane::kFolderNamingCode,
                        toArray(m_form.folder_by_time->isChecked() ? sorvane::folderNamedByTime()
                                                                   : sorvane::folderNamed(text)));
}

void EncoderPage::sendCustomText() {
    const std::string text = m_form.custom_text->text().toStdString();
    emit frameRequested(sorvane::kCustomTextCode,
                        toArray(sorvane::customText(m_form.custom_text_x->text().toInt(),
                                                    m_form.custom_text_y->text().toInt(),
                                                    m_form.custom_text_shown->isChecked(), text)));
}
