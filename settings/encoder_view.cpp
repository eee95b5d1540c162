// The module with the browser: shows the encoder's page and nothing else.
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QStringList>
#include <QWebEngineCertificateError>
#include <QWebEngineDownloadItem>
#include <QWebEngineFullScreenRequest>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineQuotaRequest>
#include <QWebEngineRegisterProtocolHandlerRequest>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineView>
#include <cerrno>
#include <memory>
#include <utility>

#include "settings/encoder_view_face.h"

namespace {

int usualPort(const QUrl& address) { return address.scheme() == QLatin1String("https") ? 443 : 80; }

// Scheme, host and port; the sockets of a page count as its own.
bool sameOrigin(const QUrl& address, const QUrl& url) {
    const int usual_port = usualPort(address);
    const QString scheme = address.scheme();
    const QString socket = usual_port == 443 ? QStringLiteral("wss") : QStringLiteral("ws");
    return (url.scheme() == scheme || url.scheme() == socket) &&
           url.host(QUrl::FullyEncoded) == address.host(QUrl::FullyEncoded) &&
           url.port(usual_port) == address.port(usual_port);
}

// Everything that a page fetches, redirects included.
class Gate : public QWebEngineUrlRequestInterceptor {
public:
    Gate(QUrl address, QObject* parent)
        : QWebEngineUrlRequestInterceptor(parent), m_address(std::move(address)) {}

    void interceptRequest(QWebEngineUrlRequestInfo& info) override {
        const QUrl url = info.requestUrl();
        // What a page has in its own memory leaves nothing and reaches nobody.
        const bool inside = url.scheme() == QLatin1String("data") || url.scheme() == QLatin1String("blob");
        info.block(!inside && !sameOrigin(m_address, url));
    }

private:
    const QUrl m_address;
};

// A page that opens nothing, asks for nothing and is given nothing. Its messages are not shown: a box would
// hold the whole station.
class EncoderWebPage : public QWebEnginePage {
public:
    EncoderWebPage(QWebEngineProfile* profile, QUrl address)
        : QWebEnginePage(profile, nullptr), m_address(std::move(address)) {
        QObject::connect(this, &QWebEnginePage::featurePermissionRequested, this,
                         [this](const QUrl& origin, Feature feature) {
                             setFeaturePermission(origin, feature, PermissionDeniedByUser);
                         });
        QObject::connect(this, &QWebEnginePage::fullScreenRequested, this,
                         [](QWebEngineFullScreenRequest request) { request.reject(); });
        QObject::connect(this, &QWebEnginePage::quotaRequested, this,
                         [](QWebEngineQuotaRequest request) { request.reject(); });
        QObject::connect(this, &QWebEnginePage::registerProtocolHandlerRequested, this,
                         [](QWebEngineRegisterProtocolHandlerRequest request) { request.reject(); });
        restrict();
    }

protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType /*type*/, bool main_frame) override {
        // A frame without an address holds what the page itself writes into it.
        const bool inside = !main_frame && url.scheme() == QLatin1String("about");
        return inside || sameOrigin(m_address, url);
    }
    QWebEnginePage* createWindow(WebWindowType /*type*/) override { return nullptr; }
    QStringList chooseFiles(FileSelectionMode /*mode*/, const QStringList& /*old*/,
                            const QStringList& /*types*/) override {
        return {};
    }
    void javaScriptAlert(const QUrl& /*origin*/, const QString& /*message*/) override {}
    bool javaScriptConfirm(const QUrl& /*origin*/, const QString& /*message*/) override { return false; }
    bool javaScriptPrompt(const QUrl& /*origin*/, const QString& /*message*/, const QString& /*suggested*/,
                          QString* /*answer*/) override {
        return false;
    }
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel /*level*/, const QString& /*message*/,
                                  int /*line*/, const QString& /*source*/) override {}
    bool certificateError(const QWebEngineCertificateError& /*error*/) override { return false; }

private:
    void restrict() {
        QWebEngineSettings* s = settings();
        using Settings = QWebEngineSettings;
        for (const auto attribute :
             {Settings::JavascriptCanOpenWindows, Settings::JavascriptCanAccessClipboard,
              Settings::JavascriptCanPaste, Settings::LocalContentCanAccessFileUrls,
              Settings::LocalContentCanAccessRemoteUrls, Settings::HyperlinkAuditingEnabled,
              Settings::PluginsEnabled, Settings::PdfViewerEnabled, Settings::FullScreenSupportEnabled,
              Settings::ScreenCaptureEnabled, Settings::WebGLEnabled, Settings::AllowRunningInsecureContent,
              Settings::AllowGeolocationOnInsecureOrigins, Settings::AllowWindowActivationFromJavaScript,
              Settings::AutoLoadIconsForPage, Settings::TouchIconsEnabled, Settings::DnsPrefetchEnabled,
              Settings::FocusOnNavigationEnabled, Settings::ErrorPageEnabled}) {
            s->setAttribute(attribute, false);
        }
        s->setAttribute(Settings::WebRTCPublicInterfacesOnly, true);
        s->setAttribute(Settings::PlaybackRequiresUserGesture, true);
        s->setUnknownUrlSchemePolicy(Settings::DisallowUnknownUrlSchemes);
    }

    const QUrl m_address;
};

class View : public EncoderView {
public:
    View(QWidget* parent, const QUrl& address) : m_address(address) {
        m_profile.setHttpCacheType(QWebEngineProfile::NoCache);
        m_profile.setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
        m_profile.setUrlRequestInterceptor(new Gate(address, &m_profile));
        QObject::connect(&m_profile, &QWebEngineProfile::downloadRequested, &m_profile,
                         [](QWebEngineDownloadItem* item) { item->cancel(); });
        m_page = std::make_unique<EncoderWebPage>(&m_profile, address);
        m_view = std::make_unique<QWebEngineView>(parent);
        m_view->setObjectName(QStringLiteral("encoder_view"));
        m_view->setPage(m_page.get());
        // Its menu offers to save, to look at the source and to open windows.
        m_view->setContextMenuPolicy(Qt::NoContextMenu);
        m_view->setAcceptDrops(false);
        QObject::connect(m_view.get(), &QWebEngineView::loadFinished, m_view.get(),
                         [this](bool whole) { onLoaded(whole); });
        QObject::connect(m_view.get(), &QWebEngineView::loadProgress, m_view.get(),
                         [this] { lookForPage(false); });
        QObject::connect(m_view.get(), &QWebEngineView::renderProcessTerminated, m_view.get(),
                         [this] { tell(false); });
    }
    // The page goes before its profile.
    ~View() override = default;

    QWidget* widget() override { return m_view.get(); }
    void load() override { m_view->load(m_address); }

private:
    // A load fails too where the page asked for what it is not given; the encoder's own page still stands
    // then.
    void onLoaded(bool whole) {
        if (whole) {
            tell(true);
        } else {
            lookForPage(true);
        }
    }
    // While it still loads, and for pages with an endless picture that is for ever, nothing tells but the
    // page.
    void lookForPage(bool over) {
        const QString scheme = m_address.scheme() + QLatin1Char(':');
        m_page->runJavaScript(QStringLiteral("location.protocol"),
                              [this, scheme, over](const QVariant& shown) {
                                  const bool there = shown.toString() == scheme;
                                  if (there || over) {
                                      tell(there);
                                  }
                              });
    }
    void tell(bool answered) {
        if (finished) {
            finished(answered);
        }
    }

    const QUrl m_address;
    QWebEngineProfile m_profile;  // without a name: nothing of it reaches the disk
    std::unique_ptr<EncoderWebPage> m_page;
    std::unique_ptr<QWebEngineView> m_view;
};

constexpr const char* kNoSandbox = "QTWEBENGINE_DISABLE_SANDBOX";

// An ordinary user who gets no name spaces has no sandbox, and the browser would end the whole station.
bool sandboxWorks() {
    const pid_t child = fork();
    if (child < 0) {
        return false;
    }
    if (child == 0) {
        _exit(unshare(CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET) == 0 ? 0 : 1);
    }
    int status = 0;
    pid_t ended = -1;
    do {
        ended = waitpid(child, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended > 0 && status == 0;
}

// For root, and for nobody else, the browser runs without its sandbox: it refuses to start otherwise.
bool mayStart() {
    if (geteuid() == 0) {
        qputenv(kNoSandbox, "1");
    }
    return qEnvironmentVariableIntValue(kNoSandbox) != 0 || sandboxWorks();
}

// Read once, when the browser starts. Hosts and ports other than the encoder's are not resolved, so that what
// passes the gate (sockets of scripts) finds nobody; no datagram leaves past it and nothing goes by way of
// another machine.
void setBrowserFlags(const QUrl& address) {
    constexpr const char* kFlags = "QTWEBENGINE_CHROMIUM_FLAGS";
    QString host = address.host(QUrl::FullyEncoded);
    if (host.contains(QLatin1Char(':'))) {
        host = QLatin1Char('[') + host + QLatin1Char(']');
    }
    const QByteArray encoder = host.toLatin1() + ':' + QByteArray::number(address.port(usualPort(address)));
    QByteArray flags = qgetenv(kFlags);
    flags += " --host-resolver-rules=\"MAP " + encoder + ' ' + encoder +
             ", MAP * ~NOTFOUND\" --force-webrtc-ip-handling-policy=disable_non_proxied_udp"
             " --no-proxy-server";
    qputenv(kFlags, flags);
}

}  // namespace

extern "C" Q_DECL_EXPORT EncoderView* makeEncoderView(QWidget* parent, const QUrl& address) {
    if (!mayStart()) {
        qDebug("no web view: its sandbox does not work for this user");
        return nullptr;
    }
    static const bool flags_set = [&address] {
        setBrowserFlags(address);
        // Not even the programs by which it draws are kept.
        QCoreApplication::setAttribute(Qt::AA_DisableShaderDiskCache);
        return true;
    }();
    return flags_set ? new View(parent, address) : nullptr;
}
