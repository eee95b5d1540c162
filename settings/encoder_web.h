// The page with the encoder's own page in it.
#pragma once

#include <QObject>
#include <QTimer>
#include <QUrl>
#include <functional>
#include <memory>

#include "settings/encoder_view_face.h"
#include "settings/settings_page.h"

class QLabel;
class QPushButton;
class QStackedLayout;

// Nothing is loaded or opened before the page's row is selected for the first time. Until the encoder
// answers, and where it does not, a plain page says so and offers to try again.
class EncoderWeb : public QObject, public SettingsPage {
    Q_OBJECT

public:
    // Gives the function of the module, or null where the module is missing.
    using FindModule = std::function<MakeEncoderView()>;
    static MakeEncoderView loadModule();

    // `page` outlives this one and has no children yet. address: of the encoder's page, http or https.
    EncoderWeb(QWidget& page, QString address, FindModule find_module = loadModule);
    ~EncoderWeb() override;

    void load() override {}
    void retranslate() override;
    void selected() override;

private:
    enum class State { kAsking, kSilent, kShown, kBadAddress, kNoView };

    void build();
    void ask();
    void show(State state);
    QString text() const;

    QWidget& m_page;
    const QString m_address;
    const QUrl m_url;
    const FindModule m_findModule;
    State m_state = State::kAsking;
    QStackedLayout* m_layers = nullptr;
    QWidget* m_notice = nullptr;
    QLabel* m_text = nullptr;
    QPushButton* m_again = nullptr;
    std::unique_ptr<EncoderView> m_view;
    QTimer m_patience;  // runs while an answer is waited for
};
