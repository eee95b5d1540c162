// Where the main window has its maps: the page beside the pictures, the strip below them, and what brings
// them up.
#pragma once

#include <QObject>
#include <cstdint>

class MapOwner;
class MyTransDlg;
class QMapWidget;
class QPushButton;
struct MainForm;

// The window's fields; null until they are created.
struct MapFields {
    QMapWidget*& map1;  // fills the page
    QMapWidget*& map2;  // fills the strip
    QPushButton*& btn_ctrl_pane;
};

// A map is built at the first size that its host gets: a host that is never shown has none and costs nothing.
// Form, fields and owner outlive it. GUI thread.
class MapHosts : public QObject {
    Q_OBJECT

public:
    MapHosts(const MainForm& form, const MapFields& fields, MapOwner& owner);

    // Starts reading the earth file behind the window's first pictures.
    void preload();
    // To be told of every resize of the process' widgets; those that are no host do nothing.
    void resized(const QObject* widget);
    // Page and strip come up.
    void show();
    // The strip's toggle follows the picture area; nothing before it exists.
    void placeStripToggle();

    // Degrees and metres; a map that does not exist yet does not learn of it later.
    void targetReported(double lon, double lat, std::uint32_t alt);
    void aircraftReported(double lon, double lat, double alt, float heading);
    // A video window has a new picture.
    void pictureCame(int window_id);

    // Ends a press on every map but that one.
    void letGo(const void* but);
    void retranslate();
    // Both maps and what was read for them go; nothing brings them up again.
    void close();

private:
    void createStripToggle();
    void toggleStrip();
    void nameStripToggle();
    void fit(QMapWidget*& map, QWidget* host);

    const MainForm& m_form;
    MapFields m_fields;
    MapOwner& m_owner;
    MyTransDlg* m_holder = nullptr;
    QPushButton* m_toggle = nullptr;
    bool m_closed = false;
};
