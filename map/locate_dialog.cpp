#include "map/locate_dialog.h"

#include <QDoubleValidator>
#include <QScreen>
#include <algorithm>

#include "widgets/common_dlg.h"

namespace {

QValidator* range(double least, double most, int decimals, QObject* parent) {
    return new QDoubleValidator(least, most, decimals, parent);
}

}  // namespace

common_dlg* makeLocateDialog(Ui::MyLocateDialogUi& ui, QWidget* parent, QObject* target) {
    auto* dialog = new common_dlg(parent);
    ui.setupUi(dialog);
    dialog->setTitleWidget(ui.widget_30);
    dialog->setCloseButton(ui.toolButton);
    ui.edit_alt->setValidator(range(-999999999.999999, 999999999.999999, 1, target));
    ui.edit_lng->setValidator(range(-180.0, 180.0, 7, target));
    ui.edit_lat->setValidator(range(-90.0, 90.0, 7, target));
    for (QMyCmdBtn* button : {ui.btn_geo_guid, ui.btn_geo_track, ui.btn_flag}) {
        button->setCommand(0, target);
    }
    return dialog;
}

void openLocateDialog(Ui::MyLocateDialogUi& ui, common_dlg& dialog, const QWidget& over,
                      const sorvane::GeoPosition& point) {
    ui.retranslateUi(&dialog);
    dialog.show();
    const QPoint corner = over.mapToGlobal(QPoint(0, 0));
    // A map at the edge of the screen may be narrower than the dialog.
    const QRect room = over.screen()->availableGeometry();
    const auto inside = [](int at, int size, int least, int end) {
        return std::max(least, std::min(at, end - size));
    };
    dialog.move(inside(corner.x() + (over.width() - dialog.width()) / 2, dialog.width(), room.x(),
                       room.x() + room.width()),
                inside(corner.y() + (over.height() - dialog.height()) / 2, dialog.height(), room.y(),
                       room.y() + room.height()));
    ui.edit_alt->setText(QString::fromStdString(sorvane::fieldText(point.altitude_m, 1)));
    ui.edit_lat->setText(QString::fromStdString(sorvane::fieldText(point.latitude_deg, 7)));
    ui.edit_lng->setText(QString::fromStdString(sorvane::fieldText(point.longitude_deg, 7)));
}

LocateFields readLocateFields(const Ui::MyLocateDialogUi& ui) {
    return {ui.edit_lng->text().toFloat(), ui.edit_lat->text().toFloat(), ui.edit_alt->text().toFloat(),
            ui.edit_radius->text().toInt()};
}
