#include "settings/player_settings_dlg.h"

#include <QApplication>
#include <QCloseEvent>
#include <QListWidget>
#include <QPushButton>
#include <QStackedWidget>
#include <QTimer>
#include <algorithm>
#include <array>
#include <utility>

#include "app/config/my_app_config.h"
#include "forms/settings_form.h"
#include "settings/common_page.h"
#include "settings/device_page.h"
#include "settings/encoder_page.h"
#include "settings/encoder_web.h"
#include "settings/file_page.h"
#include "settings/osd_page.h"
#include "settings/relay_page.h"
#include "settings/remote_page.h"
#include "settings/reply_codes.h"
#include "settings/requests.h"
#include "settings/stick_page.h"
#include "settings/upgrade_page.h"
#include "widgets/touch_lists.h"

namespace {

// Ends a command that a change of language has sent.
constexpr int kOsdStopMs = 100;

// By row, which is also the index in the stack of pages.
constexpr std::array<const char*, 10> kRows = {
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

// The first byte of a state that tells of the remote control's channels.
constexpr int kOfChannels = 2;
// Which page takes which reply; a row comes with the page that understands it.
constexpr std::array<ReplyRow, 6> kReplies = {{
    {kDeviceReply, PageId::kDevice},
    {kVersionReply, PageId::kDevice},
    {kStateReply, PageId::kRemote, kOfChannels},
    {kStateReply, PageId::kOsd},
    {kRelayFrame, PageId::kRelay},
    {sorvane::kUpgradeAnswer, PageId::kUpgrade},
}};

// Pages that do something when their row is selected.
struct SelectedRow {
    int row;
    PageId page;
};
constexpr SelectedRow kSelected[] = {{1, PageId::kEncoderWeb}, {2, PageId::kRemote}};

}  // namespace

PlayerSettingsDlg::PlayerSettingsDlg(const sorvane::DecoderMask& decoders, QWidget* parent)
    : common_dlg(parent),
      m_config(new MyAppConfig),
      ui(new Ui::dialogSettings),
      m_pages(kPageCount),
      m_router(kReplies, m_pages) {
    m_config->load();
    ui->setupUi(this);
    m_form.reset(new SettingsForm{*ui});
    enlargeLists(this);
    setTitleWidget(m_form->title);
    setCloseButton(m_form->close_button);
    // What the toolkit itself says, in the language of the source texts.
    if (!m_toolkitTexts.load(QStringLiteral("./translations/qtbase_zh_CN.qm"))) {
        qDebug("no Chinese texts of the toolkit");
    }
    QCoreApplication::installTranslator(&m_toolkitTexts);
    m_translatorLoaded = m_translator.load(QStringLiteral("./translations/Translation_en.qm"));
    if (!m_translatorLoaded) {
        qDebug("Load translate file failed!");
    }
    addRows();
    addPages(decoders);
    connectWidgets();
    init();
    m_form->page_list->setCurrentRow(0);
}

PlayerSettingsDlg::~PlayerSettingsDlg() {
    m_config->save();
    delete m_config;
}

void PlayerSettingsDlg::addRows() {
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        auto* row = new QListWidgetItem(m_form->page_list);
        QFont font = row->font();
        font.setPointSize(15);
        font.setBold(true);
        row->setFont(font);
    }
}

void PlayerSettingsDlg::addPages(const sorvane::DecoderMask& decoders) {
    auto common = std::make_unique<CommonPage>(*m_form, *m_config, decoders);
    auto osd = std::make_unique<OsdPage>(*m_form);
    auto remote = std::make_unique<RemotePage>(*m_form);
    auto stick = std::make_unique<StickPage>(*m_form, *m_config);
    m_common = common.get();
    m_osd = osd.get();
    m_remote = remote.get();
    m_stick = stick.get();
    place(PageId::kCommon, std::move(common));
    place(PageId::kFile, std::make_unique<FilePage>(*m_form, *m_config));
    place(PageId::kOsd, std::move(osd));
    auto encoder = std::make_unique<EncoderPage>(*m_form);
    connect(encoder.get(), &EncoderPage::timedCommandRequested, this,
            &PlayerSettingsDlg::timedCommandRequested);
    connect(encoder.get(), &EncoderPage::frameRequested, this, &PlayerSettingsDlg::frameRequested);
    place(PageId::kEncoder, std::move(encoder));
    place(PageId::kEncoderWeb, std::make_unique<EncoderWeb>(*m_form->encoder_web, m_config->encoder_page));
    place(PageId::kDevice, std::make_unique<DevicePage>(*m_form));
    auto relay = std::make_unique<RelayPage>(*m_form);
    connect(relay.get(), &RelayPage::frameRequested, this, &PlayerSettingsDlg::frameRequested);
    place(PageId::kRelay, std::move(relay));
    auto upgrade = std::make_unique<UpgradePage>(*m_form);
    connect(upgrade.get(), &UpgradePage::frameRequested, this, &PlayerSettingsDlg::frameRequested);
    connect(upgrade.get(), &UpgradePage::silenceRequested, this, &PlayerSettingsDlg::silenceRequested);
    place(PageId::kUpgrade, std::move(upgrade));
    place(PageId::kRemote, std::move(remote));
    place(PageId::kStick, std::move(stick));
    for (const auto& page : m_pages) {
        page->load();
    }
}

void PlayerSettingsDlg::place(PageId id, std::unique_ptr<SettingsPage> page) {
    m_pages[static_cast<std::size_t>(id)] = std::move(page);
}

void PlayerSettingsDlg::connectWidgets() {
    connect(m_form->page_list, &QListWidget::currentRowChanged, this, &PlayerSettingsDlg::onRow);
    connectRequests();
    connect(m_remote, &RemotePage::frameRequested, this, &PlayerSettingsDlg::frameRequested);
    connect(m_common, &CommonPage::languageChosen, this, &PlayerSettingsDlg::applyLanguage);
    connect(m_common, &CommonPage::themeChosen, this, &PlayerSettingsDlg::themeChosen);
    connect(m_common, &CommonPage::sendModeChanged, this, &PlayerSettingsDlg::sendModeChanged);
    connect(m_common, &CommonPage::servoFrameChosen, this, &PlayerSettingsDlg::servoFrameChosen);
}

void PlayerSettingsDlg::connectRequests() {
    for (const RequestRow& request : requests()) {
        connect((*m_form).*request.button, &QPushButton::clicked, this, [this, &request] {
            if (request.way == RequestRow::Way::kAlone) {
                emit frameRequested(
                    request.code,
                    QByteArray(reinterpret_cast<const char*>(request.data.data()), request.size));
                return;
            }
            sorvane::Command command;
            command.kind = sorvane::Command::Kind::kPayload;
            command.code = static_cast<std::uint8_t>(request.code);
            std::copy(request.data.begin(), request.data.end(), command.bytes.begin());
            command.size = request.size;
            emit timedCommandRequested(command);
        });
    }
}

void PlayerSettingsDlg::onRow(int row) {
    m_form->pages->setCurrentIndex(row);
    for (const SelectedRow& selected : kSelected) {
        if (selected.row == row) {
            m_pages[static_cast<std::size_t>(selected.page)]->selected();
        }
    }
}

void PlayerSettingsDlg::init() {
    ui->retranslateUi(this);
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        m_form->page_list->item(static_cast<int>(i))->setText(tr(kRows[i]));
    }
    for (const auto& page : m_pages) {
        page->retranslate();
    }
}

void PlayerSettingsDlg::applyLanguage(int language) {
    if (language == 0) {
        QCoreApplication::removeTranslator(&m_translator);
        QCoreApplication::installTranslator(&m_toolkitTexts);
    } else if (language == 1 && m_translatorLoaded) {
        QCoreApplication::removeTranslator(&m_toolkitTexts);
        QCoreApplication::installTranslator(&m_translator);
    }
    emit languageChanged();
    m_osd->setLanguage(language);
    emit commandRequested(m_osd->styleCommand());
    QTimer::singleShot(kOsdStopMs, Qt::CoarseTimer, this, [this] { emit stopRequested(0); });
}

bool PlayerSettingsDlg::singleMode() const { return m_common->singleMode(); }

bool PlayerSettingsDlg::sendsTelemetryPeriodically() const { return m_common->sendsTelemetryPeriodically(); }

int PlayerSettingsDlg::languageIndex() const { return m_common->languageIndex(); }

const QWidget* PlayerSettingsDlg::osdPage() const { return m_form->osd_page; }

sorvane::StickSettings PlayerSettingsDlg::stickSettings() const { return m_stick->settings(); }

void PlayerSettingsDlg::on_js_connect_change(bool is_connect, int button_count, int product_id, int caps) {
    m_stick->connectChange(is_connect, button_count, product_id, caps);
}

const sorvane::ButtonFunction& PlayerSettingsDlg::pressFeedback(int button) {
    return m_stick->pressFeedback(button);
}

int PlayerSettingsDlg::axisFeedback(int index, float offset) { return m_stick->axisFeedback(index, offset); }

void PlayerSettingsDlg::setLinkQuestion(std::function<bool()> link_open) {
    m_remote->link_open = std::move(link_open);
}

void PlayerSettingsDlg::linkOpened() { m_osd->linkOpened(); }

std::uint8_t PlayerSettingsDlg::decoderValue() const { return m_common->decoderValue(); }

void PlayerSettingsDlg::on_recv_single_frame(std::uint16_t code, const unsigned char* data, int size) {
    if (!m_router.route(code, data, size)) {
        qDebug("reply of the pod, code %d, %d bytes", code, size);
    }
}

void PlayerSettingsDlg::storePages() {
    for (const auto& page : m_pages) {
        page->store();
    }
}

void PlayerSettingsDlg::closeEvent(QCloseEvent* e) {
    storePages();
    common_dlg::closeEvent(e);
}

void PlayerSettingsDlg::reject() {
    storePages();
    common_dlg::reject();
}
