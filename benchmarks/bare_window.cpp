// The baseline of benchmarks/start_up: an empty maximised window, linked with the station's libraries.
#include <QApplication>
#include <QMainWindow>

int main(int argc, char* argv[]) {
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QApplication application(argc, argv);
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("bare"));
    window.setStyleSheet(QStringLiteral("background: #406080"));
    window.showMaximized();
    return QApplication::exec();
}
