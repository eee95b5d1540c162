#include "widgets/close_requests.h"

#include <QApplication>
#include <QSocketNotifier>
#include <QWidget>

#include "platform/termination.h"

void closeOnRequests(QWidget& window) {
    // What follows would close every dialog by itself, in an order of its own.
    QGuiApplication::setFallbackSessionManagementEnabled(false);
    QObject::connect(qApp, &QGuiApplication::commitDataRequest, &window, &QWidget::close);
    const int requests = platform::watchTermination();
    if (requests < 0) {
        return;
    }
    auto* notifier = new QSocketNotifier(requests, QSocketNotifier::Read, &window);
    QObject::connect(notifier, &QSocketNotifier::activated, &window, [notifier, &window] {
        notifier->setEnabled(false);
        window.close();
        // A modal box that is open would keep the program alive.
        QCoreApplication::quit();
    });
}
