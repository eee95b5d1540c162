#include "link/local_addresses.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QCoreApplication>
#include <QHostAddress>
#include <QHostInfo>
#include <QLineEdit>
#include <QNetworkInterface>
#include <QPointer>
#include <QTimer>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace {

constexpr int kOpenListMs = 100;

QStringList ipv4Of(const QList<QHostAddress>& addresses) {
    QStringList texts;
    for (const QHostAddress& address : addresses) {
        if (address.protocol() == QAbstractSocket::IPv4Protocol) {
            texts << address.toString();
        }
    }
    return texts;
}

// The network part of an address, as far as the last dot.
QString subnetOf(const QString& address) { return address.left(address.lastIndexOf(QLatin1Char('.'))); }

QStringList itemsOf(const QComboBox& box) {
    QStringList items;
    for (int i = 0; i < box.count(); ++i) {
        items << box.itemText(i);
    }
    return items;
}

// Looks up the machine's own name on a thread that nobody waits for: a dead name server keeps it for many
// seconds, and the toolkit's own look-ups would hold the end of the process as long. Answers come until the
// object dies, which is before the application does.
class OwnName {
public:
    OwnName() = default;
    ~OwnName() {
        const std::lock_guard<std::mutex> lock(m_door->mutex);
        m_door->open = false;
    }
    OwnName(const OwnName&) = delete;
    OwnName& operator=(const OwnName&) = delete;

    void lookUp(const AddressSources::Take& take) {
        try {
            std::thread(ask, m_door, take).detach();
        } catch (const std::system_error&) {
            // No thread to be had: the interfaces' addresses are all there is.
        }
    }

private:
    struct Door {
        std::mutex mutex;
        bool open = true;
    };
    static void ask(const std::shared_ptr<Door>& door, const AddressSources::Take& take) {
        const QStringList own = ipv4Of(QHostInfo::fromName(QHostInfo::localHostName()).addresses());
        const std::lock_guard<std::mutex> lock(door->mutex);
        if (door->open) {
            QMetaObject::invokeMethod(
                QCoreApplication::instance(), [take, own] { take(own); }, Qt::QueuedConnection);
        }
    }

    const std::shared_ptr<Door> m_door = std::make_shared<Door>();
};

}  // namespace

AddressSources systemAddresses() {
    return {[] { return ipv4Of(QNetworkInterface::allAddresses()); },
            [own_name = std::make_shared<OwnName>()](const AddressSources::Take& take) {
                own_name->lookUp(take);
            }};
}

LocalAddresses::LocalAddresses(QComboBox& box, const QString& destination, AddressSources sources)
    : m_box(box), m_destination(destination), m_sources(std::move(sources)) {
    m_box.setEditable(true);
    // What is typed stays: no completion to an address that is longer.
    m_box.setCompleter(nullptr);
    QObject::connect(&m_box, QOverload<int>::of(&QComboBox::activated), &m_alive, [this] { keep(); });
    QObject::connect(m_box.lineEdit(), &QLineEdit::textEdited, &m_alive, [this] { keep(); });
}

void LocalAddresses::fill() {
    QStringList items = itemsOf(m_box);
    items << m_sources.of_interfaces();
    items.removeDuplicates();
    replaceList(items);
    if (!m_kept) {
        select();
    }
    m_sources.look_up([this, alive = QPointer<QObject>(&m_alive)](const QStringList& own) {
        if (alive != nullptr) {
            take(own);
        }
    });
}

void LocalAddresses::take(const QStringList& own) {
    // Rows must not move under the finger that is about to choose one.
    if (m_box.view()->isVisible()) {
        QTimer::singleShot(kOpenListMs, &m_alive, [this, own] { take(own); });
        return;
    }
    // Somebody else's choice, made without the keyboard or the list, counts too.
    m_kept = m_kept || m_box.currentText() != m_selected;
    QStringList items = own + itemsOf(m_box);
    items.removeDuplicates();
    replaceList(items);
    if (!m_kept) {
        select();
    }
}

// What stands in the edit, and the cursor in it, stay.
void LocalAddresses::replaceList(const QStringList& addresses) {
    QLineEdit* edit = m_box.lineEdit();
    const QString item = m_box.itemText(m_box.currentIndex());
    const QString text = edit->text();
    const int cursor = edit->cursorPosition();
    const int marked_from = edit->selectionStart();
    const int marked = edit->selectionLength();
    m_box.clear();
    m_box.addItems(addresses);
    m_box.setCurrentIndex(addresses.indexOf(item));
    edit->setText(text);
    if (marked_from >= 0) {
        edit->setSelection(marked_from, marked);
    } else {
        edit->setCursorPosition(cursor);
    }
}

void LocalAddresses::select() {
    const QString subnet = subnetOf(m_destination);
    int chosen = 0;
    for (int i = m_box.count() - 1; i >= 0; --i) {
        if (subnetOf(m_box.itemText(i)) == subnet) {
            chosen = i;
        }
    }
    if (m_box.count() > 0) {
        m_box.setCurrentIndex(chosen);
    }
    m_selected = m_box.currentText();
}
