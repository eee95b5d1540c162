// The list of this machine's addresses, from which the local end of the link is chosen.
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

class QComboBox;

// Where the addresses come from; texts of IPv4 addresses. GUI thread, and neither may wait for a network.
struct AddressSources {
    using Take = std::function<void(const QStringList&)>;

    // Of every interface, loopback included.
    std::function<QStringList()> of_interfaces;
    // Asks the name service for the addresses of the machine's own name. `take` is called on the GUI thread:
    // during the call, any time later, or never.
    std::function<void(Take take)> look_up;
};
// The system's; answers come as long as a copy of these functions lives.
AddressSources systemAddresses();

// The interfaces' addresses stand in the box at once; those that the look-up brings come before them, in its
// order, when it comes. The first address on the pod's subnet is selected, else the first of all, each time
// the list changes, until the operator has chosen one or typed another. Box and destination (the pod's
// address) outlive the object; an answer after its end is not taken. GUI thread.
class LocalAddresses {
public:
    // Makes the box editable.
    LocalAddresses(QComboBox& box, const QString& destination, AddressSources sources);

    // Adds to what is in the box.
    void fill();
    // What stands in the box is the operator's choice from now on.
    void keep() { m_kept = true; }

private:
    void take(const QStringList& own);
    void replaceList(const QStringList& addresses);
    void select();

    QComboBox& m_box;
    const QString& m_destination;
    AddressSources m_sources;
    QString m_selected;  // the text that the rule has put there
    bool m_kept = false;
    QObject m_alive;  // ends connections and late answers
};
