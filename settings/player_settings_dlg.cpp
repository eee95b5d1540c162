#include "settings/player_settings_dlg.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QStyle>
#include <QTimer>
#include <QToolButton>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "link/command_catalogue.h"
#include "link/osd_words.h"
#include "settings/decoder_choice.h"
#include "ui_settings.h"
#include "widgets/touch_lists.h"

namespace {

// Ends a command that a change of language has sent.
constexpr int kOsdStopMs = 100;

// By row, which is also the index in the stack of pages.
constexpr std::array<const char*, 10> kPages = {
    QT_TRANSLATE_NOOP("PlayerSettingsDlg", "设备管理"),
    QT_TRANSLATE_NOOP("PlayerSettingsDlg", "编码器设置"),
    QT_TRANSLATE_NOOP("PlayerSettingsDlg", "遥控器设置"),
    QT_TRANSLATE_NOOP("PlayerSettingsDlg", "摇杆设置"),
    QT_TRANSLATE_NOOP("PlayerSettingsDlg", "OSD设置"),
    QT_TRANSLATE_NOOP("PlayerSettingsDlg", "文件保存"),
    QT_TRANSLATE_NOOP("PlayerSettingsDlg", "通用设置"),
    QT_TRANSLATE_NOOP("PlayerSettingsDlg", "指令透传"),
    QT_TRANSLATE_NOOP("PlayerSettingsDlg", "固件升级"),
    QT_TRANSLATE_NOOP("PlayerSettingsDlg", "版本信息"),
};

// A style sheet's colour covers the palette's for placeholders: an empty field tells the sheet that it is
// empty.
void muteWhileEmpty(QLineEdit* edit) {
    const auto tell = [edit] {
        const bool empty = edit->text().isEmpty();
        if (edit->property("empty").toBool() != empty) {
            edit->setProperty("empty", empty);
            edit->style()->unpolish(edit);
            edit->style()->polish(edit);
        }
    };
    tell();
    QObject::connect(edit, &QLineEdit::textChanged, edit, tell);
}

}  // namespace

PlayerSettingsDlg::PlayerSettingsDlg(Korvath* window)
    : common_dlg(window), m_config(new MyAppConfig), ui(new Ui::dialogSettings), m_window(window) {
    m_config->load();
    ui->setupUi(this);
    enlargeLists(this);
    setTitleWidget(ui->title);
    ui->toolButton->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    for (std::size_t i = 0; i < kPages.size(); ++i) {
        auto* row = new QListWidgetItem(ui->widget_title);
        QFont font = row->font();
        font.setPointSize(15);
        font.setBold(true);
        row->setFont(font);
    }
    fillFromConfig();
    m_translatorLoaded = m_translator.load(QStringLiteral("./translations/Translation_en.qm"));
    if (!m_translatorLoaded) {
        qDebug("Load translate file failed!");
    }
    for (QLineEdit* edit : {ui->lineEdit_12, ui->lineEdit_13, ui->lineEdit_14}) {
        muteWhileEmpty(edit);
    }
    connectWidgets();
    init();
    ui->widget_title->setCurrentRow(0);
}

PlayerSettingsDlg::~PlayerSettingsDlg() {
    m_config->save();
    delete m_config;
}

void PlayerSettingsDlg::fillFromConfig() {
    loadCommonPage();
    loadFilePage();
    loadOsdPage();
}

void PlayerSettingsDlg::connectWidgets() {
    connect(ui->toolButton, &QToolButton::clicked, this, &QWidget::close);
    connect(ui->widget_title, &QListWidget::currentRowChanged, ui->stackedWidget,
            &QStackedWidget::setCurrentIndex);
    connectCommonPage();
    connectFilePage();
}

void PlayerSettingsDlg::init() {
    ui->retranslateUi(this);
    for (std::size_t i = 0; i < kPages.size(); ++i) {
        ui->widget_title->item(static_cast<int>(i))->setText(tr(kPages[i]));
    }
    retranslateCommonPage();
    retranslateOsdPage();
}

void PlayerSettingsDlg::applyLanguage(int language) {
    if (language == 0) {
        QCoreApplication::removeTranslator(&m_translator);
    } else if (language == 1 && m_translatorLoaded) {
        QCoreApplication::installTranslator(&m_translator);
    }
    m_window->retranslate();
    ui->comboBox_13->setCurrentIndex(language);
    sendOsdStyle();
    QTimer::singleShot(kOsdStopMs, Qt::CoarseTimer, this, [this] { m_window->stopCommand(0); });
}

bool PlayerSettingsDlg::singleMode() const {
    return ui->rbtn_scaleQualHigh_3->isChecked();
}

bool PlayerSettingsDlg::sendsTelemetryPeriodically() const {
    return ui->checkBox_16->isChecked();
}

int PlayerSettingsDlg::languageIndex() const {
    return ui->cbb_selLang->currentIndex();
}

std::uint8_t PlayerSettingsDlg::decoderValue() const {
    return sorvane::decoderMask(ui->cbb_decMethod->currentData().toInt());
}

// Replies of the pod by code. The pages that understand them come with their functions; until then a reply is
// dropped.
void PlayerSettingsDlg::on_recv_single_frame(std::uint16_t code, const unsigned char* data, int size) {
    Q_UNUSED(data)
    qDebug("reply of the pod, code %d, %d bytes", code, size);
}

void PlayerSettingsDlg::storePages() {
    storeCommonPage();
    storeFilePage();
}

void PlayerSettingsDlg::closeEvent(QCloseEvent* e) {
    storePages();
    common_dlg::closeEvent(e);
}

void PlayerSettingsDlg::reject() {
    storePages();
    common_dlg::reject();
}
