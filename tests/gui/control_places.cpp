// Prints where widgets of the window stand on the screen, for tests of the program as a process:
//   control_places NAME ...      "place X Y NAME" a line: its centre, in pixels
// It builds the same window, maximised, with the control pages shown, so what it tells holds for the program
// on the same display. "control pane" is the arrow that shows them. An action's name means its tool button,
// and "connection/NAME" a widget of that dialog, as it opens.
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QPushButton>
#include <QToolBar>
#include <cstdio>

#include "korvath_fixture.h"
#include "widgets/my_trans_dlg.h"
#include "widgets/ui_fonts.h"

namespace {

class Places : public KorvathTest {
public:
    int print(const QStringList& names) {
        start();
        if (HasFatalFailure()) {
            return 1;
        }
        waitFor([this] { return in().m_ctrlPane() != nullptr && in().m_ctrlPane()->isVisible(); });
        tell("control pane", in().m_btnCtrlPane());
        in().m_btnCtrlPane()->click();
        QVector<QWidget*> widgets;
        for (const QString& name : names) {
            widgets.append(find(name));
        }
        const int missing = waitFor([&] { return settled(widgets); }) ? 0 : 1;
        for (int i = 0; i < names.size() && missing == 0; ++i) {
            tell(names[i], widgets[i]);
        }
        TearDown();
        return missing;
    }

protected:
    void TestBody() override {}

private:
    QWidget* find(const QString& name) {
        const QString in_dialog = QStringLiteral("connection/");
        if (name.startsWith(in_dialog)) {
            QWidget* dialog = in().ui_connection()->pushButton_22->window();
            if (!dialog->isVisible()) {
                ui().action_connection->trigger();
            }
            return dialog->findChild<QWidget*>(name.mid(in_dialog.size()));
        }
        if (auto* action = window->findChild<QAction*>(name)) {
            for (const QToolBar* bar : window->findChildren<QToolBar*>()) {
                if (QWidget* button = bar->widgetForAction(action)) {
                    return button;
                }
            }
        }
        auto* on_page = ui().tabWidget->currentWidget()->findChild<QWidget*>(name);
        return on_page != nullptr ? on_page : window->findChild<QWidget*>(name);
    }

    // Seen, and where they have been for a while: the pages are laid out in several turns.
    bool settled(const QVector<QWidget*>& widgets) {
        QVector<QPoint> now;
        for (const QWidget* w : widgets) {
            if (w == nullptr || !w->visibleRegion().contains(w->rect().center())) {
                return false;
            }
            now.append(w->mapToGlobal(w->rect().center()));
        }
        if (now != m_places) {
            m_places = now;
            m_since.start();
        }
        return m_since.elapsed() > 500;
    }

    static void tell(const QString& name, const QWidget* widget) {
        const QPoint at = widget->mapToGlobal(widget->rect().center());
        std::printf("place %d %d %s\n", at.x(), at.y(), qPrintable(name));
    }

    QVector<QPoint> m_places;
    QElapsedTimer m_since;
};

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    // The fonts decide where things stand: those of the program's main.
    QFont font;
    font.setStyleStrategy(QFont::PreferAntialias);
    font.setHintingPreference(QFont::PreferFullHinting);
    QApplication::setFont(font);
    QApplication application(argc, argv);
    installFontSubstitutes();
    // And so do its style sheets, which lie in the run-time tree.
    QDir::setCurrent(QCoreApplication::applicationDirPath() + QStringLiteral("/../run"));
    Places places;
    const int missing = places.print(QCoreApplication::arguments().mid(1));
    std::fflush(nullptr);
    std::_Exit(missing);
}
