#include "settings/common_page.h"

#include <QCheckBox>
#include <QComboBox>
#include <QRadioButton>
#include <QSignalBlocker>
#include <utility>

#include "app/config/my_app_config.h"
#include "forms/settings_form.h"
#include "settings/decoder_choice.h"

namespace {

// By the bit of the mask.
constexpr std::array<const char*, 3> kDecoders = {QT_TRANSLATE_NOOP("CommonPage", "软解码"),
                                                  QT_TRANSLATE_NOOP("CommonPage", "CUDA解码"),
                                                  QT_TRANSLATE_NOOP("CommonPage", "QSV解码")};

}  // namespace

CommonPage::CommonPage(const SettingsForm& form, MyAppConfig& config, sorvane::DecoderMask decoders)
    : m_form(form), m_config(config), m_decoders(std::move(decoders)) {
    constexpr int kLookMs = 20;
    connect(&m_decodersTimer, &QTimer::timeout, this, [this] {
        if (m_decoders.known()) {
            fillDecoders();
        }
    });
    if (m_decoders.known()) {
        fillDecoders();
    } else {
        m_decodersTimer.start(kLookMs);
    }
    // The texts come with the language.
    m_form.language->addItems({QString(), QString()});
    m_form.theme->addItems({QString(), QString()});
    connectWidgets();
}

void CommonPage::fillDecoders() {
    m_decodersTimer.stop();
    if (m_decodersShown) {
        return;
    }
    m_decodersShown = true;
    for (const int decoder : sorvane::decoderItems(m_decoders.value())) {
        m_form.decoder->addItem(QString(), decoder);
    }
    nameDecoders();
    selectDecoder();
}

void CommonPage::selectDecoder() {
    if (m_decodersShown) {
        m_form.decoder->setCurrentIndex(sorvane::decoderRow(m_config.decode_method, m_form.decoder->count()));
    }
}

void CommonPage::nameDecoders() {
    for (int row = 0; row < m_form.decoder->count(); ++row) {
        const auto decoder = m_form.decoder->itemData(row).toUInt();
        m_form.decoder->setItemText(row, tr(kDecoders[decoder]));
    }
}

void CommonPage::connectWidgets() {
    const auto chosen = QOverload<int>::of(&QComboBox::currentIndexChanged);
    connect(m_form.language, chosen, this, &CommonPage::languageChosen);
    connect(m_form.theme, chosen, this, &CommonPage::themeChosen);
    connect(m_form.single_mode, &QRadioButton::toggled, this, [this](bool single) {
        allowTelemetryStream(single);
        emit sendModeChanged();
    });
    connect(m_form.telemetry_stream, &QCheckBox::toggled, this, &CommonPage::sendModeChanged);
    connect(m_form.two_axes, &QRadioButton::toggled, this, [this](bool on) {
        if (on) {
            emit servoFrameChosen(1);
        }
    });
    connect(m_form.three_axes, &QRadioButton::toggled, this, [this](bool on) {
        if (on) {
            emit servoFrameChosen(0);
        }
    });
}

std::array<QRadioButton*, 4> CommonPage::views() const {
    return {m_form.view_window1, m_form.view_window2, m_form.view_side_by_side, m_form.view_stacked};
}

void CommonPage::allowTelemetryStream(bool single) {
    m_form.telemetry_stream->setEnabled(single);
    if (!single) {
        // Without its signal: leaving the mode is one change, not two.
        const QSignalBlocker blocker(m_form.telemetry_stream);
        m_form.telemetry_stream->setChecked(false);
    }
}

void CommonPage::load() {
    const QSignalBlocker quiet(this);
    selectDecoder();
    m_form.language->setCurrentIndex(m_config.language);
    m_form.theme->setCurrentIndex(m_config.theme);
    const int view = m_config.video_display_mode;
    if (view >= 0 && view < static_cast<int>(views().size())) {
        views()[static_cast<std::size_t>(view)]->setChecked(true);
    }
    m_form.open_at_start->setChecked(m_config.play_video_on_start);
    m_form.show_statistics->setChecked(m_config.show_fps);
    m_form.single_mode->setChecked(m_config.send_single);
    m_form.periodic_mode->setChecked(!m_config.send_single);
    allowTelemetryStream(m_config.send_single);
    m_form.three_axes->setChecked(m_config.platform_type == 0);
    m_form.two_axes->setChecked(m_config.platform_type == 1);
}

void CommonPage::store() {
    // A value of the file that no item stands for has no index; it stays until an item is chosen.
    if (m_form.language->currentIndex() >= 0) {
        m_config.language = m_form.language->currentIndex();
    }
    if (m_form.theme->currentIndex() >= 0) {
        m_config.theme = m_form.theme->currentIndex();
    }
    const auto buttons = views();
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        if (buttons[i]->isChecked()) {
            m_config.video_display_mode = static_cast<int>(i);
        }
    }
    m_config.play_video_on_start = m_form.open_at_start->isChecked();
    m_config.send_single = singleMode();
    if (m_form.three_axes->isChecked()) {
        m_config.platform_type = 0;
    } else if (m_form.two_axes->isChecked()) {
        m_config.platform_type = 1;
    }
    if (m_decodersShown) {
        m_config.decode_method = m_form.decoder->currentIndex();
    }
    m_config.show_fps = m_form.show_statistics->isChecked();
}

void CommonPage::retranslate() {
    nameDecoders();
    m_form.language->setItemText(0, tr("中文"));
    m_form.language->setItemText(1, tr("英文"));
    m_form.theme->setItemText(0, tr("白天"));
    m_form.theme->setItemText(1, tr("黑夜"));
}

bool CommonPage::singleMode() const { return m_form.single_mode->isChecked(); }

bool CommonPage::sendsTelemetryPeriodically() const { return m_form.telemetry_stream->isChecked(); }

int CommonPage::languageIndex() const { return m_form.language->currentIndex(); }

std::uint8_t CommonPage::decoderValue() {
    // Begun at the start of the program; a driver that takes longer than that leaves this stream to software.
    constexpr std::chrono::milliseconds kPatience(300);
    if (!m_decoders.waitFor(kPatience)) {
        return sorvane::decoderMask(0);
    }
    fillDecoders();
    return sorvane::decoderMask(m_form.decoder->currentData().toInt());
}
