#include "widgets/my_message_box.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>
#include <QVBoxLayout>

namespace {

constexpr QSize kBoxSize(450, 225);
constexpr QSize kIconSize(30, 30);
constexpr QSize kButtonSize(100, 30);
constexpr int kTextPoints = 12;
constexpr int kButtonPoints = 10;
const QString kFamily = QStringLiteral("微软雅黑");

}  // namespace

MyMessageBox::MyMessageBox(Kind kind, const QString& title, const QString& text,
                           QMessageBox::StandardButtons buttons, QWidget* parent)
    : QDialog(parent),
      iconLabel(new QLabel(this)),
      textLabel(new QLabel(this)),
      m_separator(new QLabel(this)),
      buttonBox(new QDialogButtonBox(this)) {
    Q_UNUSED(kind)
    setFixedSize(kBoxSize);
    setWindowTitle(QStringLiteral("Message"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    iconLabel->setObjectName(QStringLiteral("iconLabel"));
    textLabel->setObjectName(QStringLiteral("textLabel"));
    textLabel->setOpenExternalLinks(true);
    textLabel->setWordWrap(true);
    buttonBox->setObjectName(QStringLiteral("buttonBox"));
    connect(buttonBox, &QDialogButtonBox::clicked, this, &MyMessageBox::onClicked);
    buildLayout();
    setModal(true);

    if (!title.isEmpty()) {
        setWindowTitle(title);
    }
    // The widget is handed over so that a style sheet can give the icon.
    iconLabel->setPixmap(QApplication::style()
                             ->standardIcon(QStyle::SP_MessageBoxInformation, nullptr, this)
                             .pixmap(kIconSize));
    textLabel->setText(text);
    if (buttons != QMessageBox::NoButton) {
        buttonBox->setStandardButtons(QDialogButtonBox::StandardButtons(static_cast<int>(buttons)));
    }
    applyFonts();
}

void MyMessageBox::buildLayout() {
    m_separator->setFrameStyle(QFrame::HLine | QFrame::Sunken);
    iconLabel->setAlignment(Qt::AlignCenter);
    auto* message = new QHBoxLayout;
    message->addWidget(iconLabel, 1);
    message->addWidget(textLabel, 5);
    auto* actions = new QHBoxLayout;
    actions->addWidget(buttonBox, 2);
    auto* column = new QVBoxLayout(this);
    column->addLayout(message, 10);
    column->addWidget(m_separator, 1);
    column->addLayout(actions, 4);
    column->setSpacing(0);
}

void MyMessageBox::applyFonts() {
    textLabel->setFont(QFont(kFamily, kTextPoints));
    const QList<QAbstractButton*> buttons = buttonBox->buttons();
    for (QAbstractButton* button : buttons) {
        button->setMinimumSize(kButtonSize);
        button->setFont(QFont(kFamily, kButtonPoints));
    }
}

void MyMessageBox::onClicked(QAbstractButton* button) {
    m_clicked = button;
    switch (buttonBox->buttonRole(button)) {
        case QDialogButtonBox::AcceptRole:
        case QDialogButtonBox::YesRole:
            accept();
            break;
        case QDialogButtonBox::RejectRole:
        case QDialogButtonBox::NoRole:
            reject();
            break;
        default:
            break;
    }
    close();
}

QMessageBox::StandardButton MyMessageBox::ask(Kind kind, QWidget* parent, const QString& title,
                                              const QString& text, QMessageBox::StandardButtons buttons) {
    MyMessageBox box(kind, title, text, buttons, parent);
    if (parent != nullptr) {
        const QRect around = parent->geometry();
        box.move(around.x() + (around.width() - box.width()) / 2,
                 around.y() + (around.height() - box.height()) / 2);
    }
    if (box.exec() == -1) {
        return QMessageBox::Cancel;
    }
    return static_cast<QMessageBox::StandardButton>(box.buttonBox->standardButton(box.m_clicked));
}

QMessageBox::StandardButton MyMessageBox::information(QWidget* parent, const QString& title,
                                                      const QString& text,
                                                      QMessageBox::StandardButtons buttons) {
    return ask(kInformation, parent, title, text, buttons);
}

QMessageBox::StandardButton MyMessageBox::question(QWidget* parent, const QString& text, const QString& title,
                                                   QMessageBox::StandardButtons buttons) {
    return ask(kQuestion, parent, title, text, buttons);
}

QMessageBox::StandardButton MyMessageBox::success(QWidget* parent, const QString& text, const QString& title,
                                                  QMessageBox::StandardButtons buttons) {
    return ask(kSuccess, parent, title, text, buttons);
}

QMessageBox::StandardButton MyMessageBox::warning(QWidget* parent, const QString& text, const QString& title,
                                                  QMessageBox::StandardButtons buttons) {
    return ask(kWarning, parent, title, text, buttons);
}

QMessageBox::StandardButton MyMessageBox::error(QWidget* parent, const QString& text, const QString& title,
                                                QMessageBox::StandardButtons buttons) {
    return ask(kError, parent, title, text, buttons);
}
