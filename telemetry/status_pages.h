// The three status pages: a caption and a value label for each row of the panel table.
#pragma once

#include <QLabel>
#include <QString>
#include <QWidget>
#include <array>
#include <vector>

#include "telemetry/panel_rows.h"

// One page: captions right-aligned to a common edge, values left-aligned behind it. It places its labels
// itself instead of by a layout: every label has a fixed size, so that a new text is a repaint and nothing
// more.
class StatusPage : public QWidget {
public:
    StatusPage(sorvane::PanelPage page, QWidget* parent);

    // Sets the captions in the language of the application and the edge between the columns. Values keep
    // their texts.
    void retranslate();
    // Writes every value label.
    void refresh(const sorvane::PanelSource& source);

protected:
    void resizeEvent(QResizeEvent* e) override;
    void changeEvent(QEvent* e) override;
    bool event(QEvent* e) override;

private:
    struct Row {
        const sorvane::PanelRow* row;
        QLabel* caption;
        QLabel* value;
        int y;
    };

    void addRow(const sorvane::PanelRow& row, int y);
    void place();

    std::vector<Row> m_rows;
};

// Owned by the window (as a child of it); GUI thread.
class StatusPages : public QObject {
public:
    explicit StatusPages(QObject* parent) : QObject(parent) {}

    // Fills an empty widget of the form with a page.
    void fill(sorvane::PanelPage page, QWidget* content);
    void retranslate();
    void refresh(sorvane::PanelPage page, const sorvane::PanelSource& source);

private:
    std::array<StatusPage*, 3> m_pages = {};
};

// Text of the record button by the recording bit of the report.
QString recordButtonText(const sorvane::TelemetryRecord& record);
