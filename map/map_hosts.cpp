#include "map/map_hosts.h"

#include <QPushButton>

#include "forms/main_form.h"
#include "map/qmapwidget.h"
#include "widgets/button_keys.h"
#include "widgets/my_trans_dlg.h"

namespace {

constexpr int kHalf = 10000;  // equal shares of the splitter
const QSize kToggleSize(40, 20);
const QString kToggleSheet = QStringLiteral(
    "#m_bottom_map_btn{\n\tbackground-color: rgba(150,150,150,150);\n\tcolor: white;\n}\n"
    "#m_bottom_map_btn:hover{\n\tbackground-color: rgba(126, 206, 244, 150);\n}\n");
const QString kHideText = QStringLiteral("∨");
const QString kShowText = QStringLiteral("∧");

}  // namespace

MapHosts::MapHosts(const MainForm& form, const MapFields& fields, MapOwner& owner)
    : m_form(form), m_fields(fields), m_owner(owner) {}

void MapHosts::preload() { QMapWidget::preload_earth(); }

void MapHosts::resized(const QObject* widget) {
    if (m_closed) {
        return;
    }
    if (widget == m_form.map_page) {
        fit(m_fields.map1, m_form.map_page);
    } else if (widget == m_form.map_strip) {
        fit(m_fields.map2, m_form.map_strip);
    }
}

void MapHosts::fit(QMapWidget*& map, QWidget* host) {
    if (map == nullptr) {
        map = new QMapWidget(host, m_owner);
        map->show();
    }
    map->setGeometry(0, 0, host->width(), host->height());
}

void MapHosts::show() {
    m_form.control_pages->setCurrentWidget(m_form.map_page);
    m_form.control_pages->show();
    m_fields.btn_ctrl_pane->setText(QStringLiteral(">"));
    m_form.map_strip->show();
    m_form.pictures_and_strip->setSizes({kHalf, kHalf});
    // A toggle that says "show" keeps saying it over a strip that has come up by this: meant.
    if (m_holder == nullptr) {
        createStripToggle();
    }
}

void MapHosts::createStripToggle() {
    m_holder = new MyTransDlg(m_form.picture_area);
    m_holder->resize(kToggleSize);
    m_toggle = new QPushButton(kHideText, m_holder);
    m_toggle->setObjectName(QStringLiteral("m_bottom_map_btn"));
    m_toggle->setProperty("role", "paneToggle");
    m_toggle->setFocusPolicy(Qt::NoFocus);
    QFont font(QStringLiteral("OCR A Std"), 12, QFont::Bold);
    font.setStyleHint(QFont::Monospace);
    m_toggle->setFont(font);
    m_toggle->setStyleSheet(kToggleSheet);
    m_toggle->setGeometry(QRect(QPoint(0, 0), kToggleSize));
    connect(m_toggle, &QPushButton::clicked, this, &MapHosts::toggleStrip);
    nameStripToggle();
    placeStripToggle();
    m_holder->show();
}

void MapHosts::nameStripToggle() {
    if (m_toggle != nullptr) {
        nameButton(*m_toggle, tr("下方地图"));
    }
}

void MapHosts::toggleStrip() {
    const bool show = m_form.map_strip->isHidden();
    m_form.map_strip->setVisible(show);
    m_toggle->setText(show ? kHideText : kShowText);
}

void MapHosts::placeStripToggle() {
    if (m_holder != nullptr) {
        const QWidget* area = m_form.picture_area;
        m_holder->move(area->mapToGlobal(QPoint(area->width() / 2, area->height() - m_holder->height())));
    }
}

// Each in its own order, as the reports reach them.
void MapHosts::targetReported(double lon, double lat, std::uint32_t alt) {
    for (QMapWidget* map : {m_fields.map1, m_fields.map2}) {
        if (map != nullptr) {
            map->set_target_location(lon, lat, alt);
        }
    }
}

void MapHosts::aircraftReported(double lon, double lat, double alt, float heading) {
    for (QMapWidget* map : {m_fields.map2, m_fields.map1}) {
        if (map != nullptr) {
            map->update_aircraft(lon, lat, alt, heading);
        }
    }
}

void MapHosts::pictureCame(int window_id) { QMapWidget::picture_came(window_id); }

void MapHosts::letGo(const void* but) {
    for (QMapWidget* map : {m_fields.map1, m_fields.map2}) {
        if (map != nullptr && map != but) {
            map->endHold();
        }
    }
}

void MapHosts::retranslate() {
    nameStripToggle();
    for (QMapWidget* map : {m_fields.map1, m_fields.map2}) {
        if (map != nullptr) {
            map->retranslate();
        }
    }
}

void MapHosts::close() {
    m_closed = true;
    delete m_fields.map1;
    m_fields.map1 = nullptr;
    delete m_fields.map2;
    m_fields.map2 = nullptr;
    QMapWidget::drop_preload();
}
