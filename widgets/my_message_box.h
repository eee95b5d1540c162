// The modal message of the station, in place of the toolkit's own box.
#pragma once

#include <QDialog>
#include <QMessageBox>

class QAbstractButton;
class QDialogButtonBox;
class QLabel;

// Fixed in size, modal, one text and a row of standard buttons. GUI thread.
class MyMessageBox : public QDialog {
    Q_OBJECT

public:
    // The kinds differ in name alone: every box carries the information icon.
    enum Kind { kInformation = 1, kQuestion = 2, kSuccess = 3, kWarning = 4, kError = 5 };

    MyMessageBox(Kind kind, const QString& title, const QString& text, QMessageBox::StandardButtons buttons,
                 QWidget* parent = nullptr);

    // Shows the box centred on `parent` (where the system puts it when null) and waits. Returns the button
    // that was clicked, NoButton when it was closed without one.
    static QMessageBox::StandardButton information(QWidget* parent, const QString& title, const QString& text,
                                                   QMessageBox::StandardButtons buttons = QMessageBox::Ok);
    // The same; the text comes before the title.
    static QMessageBox::StandardButton question(QWidget* parent, const QString& text, const QString& title,
                                                QMessageBox::StandardButtons buttons = QMessageBox::Yes |
                                                                                       QMessageBox::No);
    static QMessageBox::StandardButton success(QWidget* parent, const QString& text, const QString& title,
                                               QMessageBox::StandardButtons buttons = QMessageBox::Ok);
    static QMessageBox::StandardButton warning(QWidget* parent, const QString& text, const QString& title,
                                               QMessageBox::StandardButtons buttons = QMessageBox::Ok);
    static QMessageBox::StandardButton error(QWidget* parent, const QString& text, const QString& title,
                                             QMessageBox::StandardButtons buttons = QMessageBox::Ok);

    // Null until a button has been clicked.
    QAbstractButton* clickedButton() const { return m_clicked; }

private:
    void buildLayout();
    void applyFonts();
    void onClicked(QAbstractButton* button);
    static QMessageBox::StandardButton ask(Kind kind, QWidget* parent, const QString& title,
                                           const QString& text, QMessageBox::StandardButtons buttons);

    QLabel* iconLabel;
    QLabel* textLabel;
    QLabel* m_separator;
    QDialogButtonBox* buttonBox;
    QAbstractButton* m_clicked = nullptr;
};
