#include "settings/encoder_web.h"

#include <QCoreApplication>
#include <QLabel>
#include <QLibrary>
#include <QOpenGLContext>
#include <QPushButton>
#include <QStackedLayout>
#include <QVBoxLayout>
#include <utility>

namespace {

// A device that is not there may keep the system waiting for minutes.
constexpr int kPatienceMs = 5000;
constexpr int kFirstShownMs = 50;
constexpr int kGapPx = 12;
// As wide as what the other pages leave for their scroll bars.
constexpr int kRightPx = 12;

bool isWebAddress(const QUrl& url) {
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

}  // namespace

QT_BEGIN_NAMESPACE
// The toolkit's own, without a header: what Qt::AA_ShareOpenGLContexts sets at the start of every program.
Q_GUI_EXPORT void qt_gl_set_global_share_context(QOpenGLContext* context);
QT_END_NAMESPACE

namespace {

// The browser draws through it, and looks for it as it is loaded.
void shareContext() {
    static QOpenGLContext* context = nullptr;
    if (context != nullptr || QOpenGLContext::globalShareContext() != nullptr) {
        return;
    }
    context = new QOpenGLContext;
    if (!context->create()) {
        qDebug("no shared OpenGL context, the web view draws without one");
    }
    qt_gl_set_global_share_context(context);
    qAddPostRoutine([] {
        qt_gl_set_global_share_context(nullptr);
        delete context;
        context = nullptr;
    });
}

}  // namespace

MakeEncoderView EncoderWeb::loadModule() {
    shareContext();
    QLibrary module(QCoreApplication::applicationDirPath() + QLatin1Char('/') +
                    QLatin1String(kEncoderViewModule));
    const QFunctionPointer make = module.resolve(kMakeEncoderView);
    if (make == nullptr) {
        qDebug("no web view: %s", qPrintable(module.errorString()));
    }
    return reinterpret_cast<MakeEncoderView>(make);
}

EncoderWeb::EncoderWeb(QWidget& page, QString address, FindModule find_module)
    : m_page(page),
      m_address(std::move(address)),
      m_url(m_address, QUrl::StrictMode),
      m_findModule(std::move(find_module)) {
    m_patience.setSingleShot(true);
    m_patience.setInterval(kPatienceMs);
    connect(&m_patience, &QTimer::timeout, this, [this] { show(State::kSilent); });
}

// A browser that goes still answers what it was asked.
EncoderWeb::~EncoderWeb() {
    if (m_view != nullptr) {
        m_view->finished = nullptr;
    }
}

void EncoderWeb::selected() {
    if (!m_page.children().isEmpty()) {
        return;
    }
    build();
    if (!isWebAddress(m_url)) {
        show(State::kBadAddress);
        return;
    }
    show(State::kAsking);
    // The page says so before the browser's library holds everything up while it is loaded.
    QTimer::singleShot(kFirstShownMs, this, &EncoderWeb::ask);
}

void EncoderWeb::build() {
    m_page.setContentsMargins(0, 0, kRightPx, 0);
    m_layers = new QStackedLayout(&m_page);
    m_notice = new QWidget(&m_page);
    m_notice->setObjectName(QStringLiteral("encoder_notice"));
    auto* column = new QVBoxLayout(m_notice);
    column->setSpacing(kGapPx);
    m_text = new QLabel(m_notice);
    m_text->setObjectName(QStringLiteral("encoder_notice_text"));
    m_text->setTextFormat(Qt::PlainText);
    m_text->setAlignment(Qt::AlignCenter);
    m_text->setWordWrap(true);
    m_again = new QPushButton(m_notice);
    m_again->setObjectName(QStringLiteral("encoder_again"));
    connect(m_again, &QPushButton::clicked, this, &EncoderWeb::ask);
    column->addStretch();
    column->addWidget(m_text);
    column->addWidget(m_again, 0, Qt::AlignHCenter);
    column->addStretch();
    m_layers->addWidget(m_notice);
}

void EncoderWeb::ask() {
    if (m_view == nullptr) {
        const MakeEncoderView make = m_findModule();
        m_view.reset(make != nullptr ? make(&m_page, m_url) : nullptr);
        if (m_view == nullptr) {
            show(State::kNoView);
            return;
        }
        m_layers->addWidget(m_view->widget());
        m_view->finished = [this](bool answered) {
            m_patience.stop();
            show(answered ? State::kShown : State::kSilent);
        };
    }
    show(State::kAsking);
    m_patience.start();
    m_view->load();
}

void EncoderWeb::show(State state) {
    m_state = state;
    m_layers->setCurrentWidget(state == State::kShown ? m_view->widget() : m_notice);
    m_again->setVisible(state == State::kSilent);
    retranslate();
}

QString EncoderWeb::text() const {
    switch (m_state) {
        case State::kAsking:
            return tr("正在等待编码器的网页：%1").arg(m_address);
        case State::kSilent:
            return tr("编码器没有回应：%1").arg(m_address);
        case State::kBadAddress:
            return tr("编码器的网页地址无效：%1").arg(m_address);
        case State::kNoView:
            return tr("这里不能显示网页，请用浏览器打开编码器的网页：%1").arg(m_address);
        case State::kShown:
            break;
    }
    return {};
}

void EncoderWeb::retranslate() {
    if (m_text != nullptr) {
        m_text->setText(text());
        m_again->setText(tr("重试"));
    }
}
