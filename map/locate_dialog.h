// The dialog in which a point of the map is edited and sent.
#pragma once

#include "map/geo_command.h"
#include "ui_locate.h"

class QObject;
class QWidget;
class common_dlg;

// What the fields hold; an empty or invalid one is 0. Positions in single precision.
struct LocateFields {
    float longitude_deg = 0.0F;
    float latitude_deg = 0.0F;
    float altitude_m = 0.0F;
    int radius_m = 0;
};

// Builds the form on a frameless dialog below `parent`, which owns it. The held buttons report to `target`,
// which also owns the validators. GUI thread.
common_dlg* makeLocateDialog(Ui::MyLocateDialogUi& ui, QWidget* parent, QObject* target);
// Shows it in the language of the moment over the middle of `over`, but wholly on the screen, with the point
// in its fields.
void openLocateDialog(Ui::MyLocateDialogUi& ui, common_dlg& dialog, const QWidget& over,
                      const sorvane::GeoPosition& point);
LocateFields readLocateFields(const Ui::MyLocateDialogUi& ui);
