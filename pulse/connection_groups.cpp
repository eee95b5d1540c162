#include "pulse/connection_groups.h"

#include <QEvent>
#include <QGroupBox>

#include "forms/connection_form.h"
#include "widgets/sheets.h"

namespace {

constexpr const char* kPointedAt = "pointedAt";

struct Place {
    QGroupBox* group;
    QWidget* field;
};

Place placeOf(const ConnectionForm& form, PulseSource source, bool serial) {
    switch (source) {
        case PulseSource::kPicture1:
            return {form.video1_group, form.video1_address};
        case PulseSource::kPicture2:
            return {form.video2_group, form.video2_address};
        case PulseSource::kReport:
        case PulseSource::kSending:
            return serial ? Place{form.serial_group, form.serial_port}
                          : Place{form.net_group, form.pod_address};
        case PulseSource::kInertial:
            break;
    }
    return {form.ins_group, form.ins_port};
}

void unmark(const QWidget& dialog) {
    const auto groups = dialog.findChildren<QGroupBox*>();
    for (QGroupBox* group : groups) {
        setStyleProperty(*group, kPointedAt, false);
    }
}

// One a dialog; a child of it.
class HideWatch : public QObject {
public:
    explicit HideWatch(QWidget& dialog) : QObject(&dialog), m_dialog(dialog) {
        setObjectName(QStringLiteral("pointed_at_watch"));
        dialog.installEventFilter(this);
    }
    bool eventFilter(QObject* watched, QEvent* e) override {
        if (e->type() == QEvent::Hide && !static_cast<QWidget*>(watched)->isVisible()) {
            unmark(m_dialog);
        }
        return false;
    }

private:
    const QWidget& m_dialog;
};

}  // namespace

void pointAtGroup(const ConnectionForm& form, QWidget& dialog, PulseSource source, bool serial) {
    if (dialog.findChild<QObject*>(QStringLiteral("pointed_at_watch")) == nullptr) {
        new HideWatch(dialog);
    }
    unmark(dialog);
    const Place place = placeOf(form, source, serial);
    setStyleProperty(*place.group, kPointedAt, true);
    dialog.activateWindow();
    place.field->setFocus();
}
