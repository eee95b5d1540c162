#include "settings/upgrade_page.h"

#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QTextDocument>
#include <QTextEdit>
#include <QTimer>
#include <QTreeView>
#include <algorithm>
#include <array>
#include <limits>

#include "forms/settings_form.h"
#include "widgets/my_message_box.h"

namespace {

// By the module's number on the wire.
constexpr std::array<const char*, 2> kModules = {QT_TRANSLATE_NOOP("UpgradePage", "综控"),
                                                 QT_TRANSLATE_NOOP("UpgradePage", "伺服")};

// By the state's number.
constexpr std::array<const char*, sorvane::kUpgradeStates> kStates = {
    QT_TRANSLATE_NOOP("UpgradePage", "等待固件升级"),
    QT_TRANSLATE_NOOP("UpgradePage", "文件名匹配错误"),
    QT_TRANSLATE_NOOP("UpgradePage", "文件名匹配正确"),
    QT_TRANSLATE_NOOP("UpgradePage", "总帧数和总字节数接收错误"),
    QT_TRANSLATE_NOOP("UpgradePage", "总帧数和总字节数接收正确"),
    QT_TRANSLATE_NOOP("UpgradePage", "当前程序帧传送失败"),
    QT_TRANSLATE_NOOP("UpgradePage", "当前程序帧传送成功"),
    QT_TRANSLATE_NOOP("UpgradePage", "正在擦除flash"),
    QT_TRANSLATE_NOOP("UpgradePage", "正在写flash"),
    QT_TRANSLATE_NOOP("UpgradePage", "flash擦写完毕，开始校验"),
    QT_TRANSLATE_NOOP("UpgradePage", "校验错误，升级失败，请重新升级"),
    QT_TRANSLATE_NOOP("UpgradePage", "校验正确，升级成功，重启生效"),
    QT_TRANSLATE_NOOP("UpgradePage", "请按升级流程传输文件，请勿越级处理"),
    QT_TRANSLATE_NOOP("UpgradePage", "升级数据内容检验错误，退出升级"),
};

constexpr QSize kChooserSize(900, 560);
// A pod that goes on telling must not fill the memory.
constexpr int kMostLines = 10000;

// The one of the process.
std::uint16_t current_frame = 0;

}  // namespace

class UpgradePage::File : public sorvane::FirmwareFile {
public:
    void choose(const QString& path) { m_chosen = path; }

    bool reopen() override {
        m_file.close();
        m_file.setFileName(m_chosen);
        // A pipe would hold the window until somebody writes into it.
        return QFileInfo(m_chosen).isFile() && m_file.open(QIODevice::ReadOnly);
    }
    bool isOpen() const override { return m_file.isOpen(); }
    std::int64_t size() const override { return m_file.size(); }
    int read(std::int64_t at, std::uint8_t* to, int room) override {
        if (!m_file.seek(at)) {
            return 0;
        }
        return static_cast<int>(std::max<qint64>(m_file.read(reinterpret_cast<char*>(to), room), 0));
    }
    void close() override { m_file.close(); }

private:
    QString m_chosen;
    QFile m_file;
};

UpgradePage::UpgradePage(const SettingsForm& form)
    : m_form(form), m_file(std::make_unique<File>()), m_upgrade(current_frame, *m_file, surroundings()) {
    for (std::size_t i = 0; i < kModules.size(); ++i) {
        // The texts come with the language.
        m_form.upgrade_module->addItem(QString());
    }
    m_form.upgrade_log->document()->setMaximumBlockCount(kMostLines);
    connect(m_form.upgrade_enter, &QPushButton::clicked, this, [this] { m_upgrade.enterMode(); });
    connect(m_form.upgrade_choose, &QPushButton::clicked, this, &UpgradePage::chooseFile);
    connect(m_form.upgrade_start, &QPushButton::clicked, this, [this] {
        const QString path = m_form.upgrade_file->text();
        m_file->choose(path);
        // What Latin-1 does not know goes out as a question mark, and the pod refuses the name.
        m_upgrade.start(path.toLatin1().toStdString());
    });
    connect(m_form.upgrade_clear, &QPushButton::clicked, m_form.upgrade_log, &QTextEdit::clear);
}

UpgradePage::~UpgradePage() = default;

sorvane::UpgradeSurroundings UpgradePage::surroundings() {
    sorvane::UpgradeSurroundings ask;
    ask.module = [this] { return m_form.upgrade_module->currentIndex(); };
    ask.silence = [this] { emit silenceRequested(); };
    ask.send = [this](std::uint16_t code, const std::vector<std::uint8_t>& payload) {
        emit frameRequested(code, QByteArray(reinterpret_cast<const char*>(payload.data()),
                                             static_cast<int>(payload.size())));
    };
    ask.told = [this](int state) { showTold(state); };
    ask.progress = [this](int frame, std::int64_t frames) { showProgress(frame, frames); };
    // Not from inside the answer's event: the box waits for the operator.
    ask.succeeded = [this] { QTimer::singleShot(0, this, &UpgradePage::tellSuccess); };
    ask.log = [](const std::string& line) { qDebug("%s", line.c_str()); };
    return ask;
}

void UpgradePage::load() { m_form.upgrade_module->setCurrentIndex(0); }

void UpgradePage::retranslate() {
    for (std::size_t i = 0; i < kModules.size(); ++i) {
        m_form.upgrade_module->setItemText(static_cast<int>(i), tr(kModules[i]));
    }
    // The form's own texts stand for what these may hold.
    m_form.upgrade_progress_text->setText(m_progress);
    m_form.upgrade_state->setText(m_state < 0 ? QString() : tr(kStates[static_cast<std::size_t>(m_state)]));
}

void UpgradePage::onReply(std::uint16_t /*code*/, const unsigned char* data, int size) {
    m_upgrade.onAnswer(data, size);
}

void UpgradePage::chooseFile() {
    QWidget* dialog = m_form.upgrade_file->window();
    QFileDialog chooser(dialog, tr("选择综控程序升级文件"), QString(), QStringLiteral("Firmware (*.bin)"));
    chooser.setFileMode(QFileDialog::ExistingFile);
    // The toolkit's own chooser, where the desktop has none, shows names whole.
    chooser.setViewMode(QFileDialog::Detail);
    chooser.resize(kChooserSize.boundedTo(dialog->screen()->availableSize()));
    if (auto* list = chooser.findChild<QTreeView*>(QStringLiteral("treeView"))) {
        list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
        for (const int column : {1, 2, 3}) {
            list->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
        }
    }
    // A dismissed chooser has no result.
    if (chooser.exec() == QDialog::Accepted) {
        m_form.upgrade_file->setText(chooser.selectedFiles().value(0));
    }
}

void UpgradePage::showTold(int state) {
    m_state = state;
    const QString text = tr(kStates[static_cast<std::size_t>(state)]);
    QTextCursor end(m_form.upgrade_log->document());
    end.movePosition(QTextCursor::End);
    end.insertText(text + QLatin1Char('\n'));
    m_form.upgrade_log->moveCursor(QTextCursor::End);
    m_form.upgrade_state->setText(text);
}

void UpgradePage::showProgress(int frame, std::int64_t frames) {
    m_progress = QStringLiteral("%1/%2").arg(frame).arg(frames);
    m_form.upgrade_progress_text->setText(m_progress);
    m_form.upgrade_progress->setValue(frame);
    m_form.upgrade_progress->setMaximum(
        static_cast<int>(std::min<std::int64_t>(frames, std::numeric_limits<int>::max())));
}

void UpgradePage::tellSuccess() {
    // An answer that comes twice needs no second box over the first.
    if (m_telling) {
        return;
    }
    m_telling = true;
    QWidget* dialog = m_form.upgrade_file->window();
    const bool shown = dialog->isVisible() || dialog->parentWidget() == nullptr;
    MyMessageBox::information(shown ? dialog : dialog->parentWidget(), tr("提示"),
                              tr("升级成功，重启生效！"));
    m_telling = false;
}
