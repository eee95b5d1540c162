// The three status pages: a caption and a value label for each row of the panel table.
#pragma once

#include <QFont>
#include <QLabel>
#include <QString>
#include <QWidget>
#include <functional>
#include <vector>

#include "telemetry/panel_rows.h"

struct MainForm;

// One page: captions right-aligned to a common edge, values left-aligned behind it. It places its labels
// itself instead of by a layout: every label has a fixed size, so that a new text is a repaint and nothing
// more.
class StatusPage : public QWidget {
public:
    // fontChanged is called when another style sheet or font may have changed neededWidth().
    StatusPage(sorvane::PanelPage page, std::function<void()> fontChanged, QWidget* parent);

    // Pixels for the longest caption and the longest text that a report can bring, in the language and font
    // of now.
    int neededWidth() const;

    // Sets the captions in the language of the application and the edge between the columns. Values keep
    // their texts.
    void retranslate();
    // Writes every value label.
    void refresh(const sorvane::PanelSource& source);
    // A line of the same two columns on `line`, outside of what scrolls; its value is not part of the table.
    void addAge(const sorvane::PanelRow& row, QWidget* line);
    void setAge(const QString& text, bool old);

protected:
    void resizeEvent(QResizeEvent* e) override;
    void changeEvent(QEvent* e) override;
    bool event(QEvent* e) override;

private:
    struct Row {
        const sorvane::PanelRow* row;
        QLabel* caption;
        QLabel* value;
        QSize longest;  // of its possible texts, each in one line
    };

    void addRow(const sorvane::PanelRow& row, QWidget* parent);
    void measure();
    void followFont();
    void place();

    std::function<void()> m_fontChanged;
    std::vector<Row> m_rows;
    QLabel* m_age = nullptr;
    QFont m_measuredFont;
    int m_captionWidth = 0;
    int m_valueWidth = 0;
};

// The three pages on the form, the width of their pane, its page number and arrows, and the record button of
// the control page, whose text follows the report. Form, record and block outlive it. GUI thread.
class StatusPages {
public:
    // Fills the form's empty page widgets.
    StatusPages(const MainForm& form, const sorvane::TelemetryRecord& record, const sorvane::NavBlock& nav);

    // Captions and the pane's width change at once, the values' words with the next report; the form's
    // retranslation has reset the record button.
    void retranslate();
    // After each report: the record button always, the two pages of the pod only while their pane is visible:
    // a hidden one costs nothing and catches up with the next report when shown.
    void onRecord();
    // Writes both pages of the pod, visible or not.
    void refresh();
    void refreshAircraft();
    // How old what the two pages of the pod show is, in a line at their end: from the last report on,
    // whether or not the link still stands. To be called again and again; does nothing while they are hidden
    // or nothing has changed.
    void showAge();

    // Milliseconds since the last report; a test sets its own clock.
    std::function<qint64()> now_ms;

private:
    StatusPage* addPage(sorvane::PanelPage page, QWidget* content);
    void showRecordButton();
    void fitPane();
    void followPage();

    const MainForm& m_form;
    const sorvane::TelemetryRecord& m_record;
    const sorvane::NavBlock& m_nav;
    // Children of the form's widgets.
    StatusPage* m_aircraft = nullptr;
    StatusPage* m_pod = nullptr;
    StatusPage* m_health = nullptr;
    qint64 m_lastReport_ms = -1;
};
