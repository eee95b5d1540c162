// A small button for a status bar: a dot in the colour of a state, a caption (its text), an age. What the age
// says is part of its accessible name.
#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QString>
#include <functional>

// Knows no more than what it is told. The sheets give the colours (qproperty-okColour ...) and the font. The
// digits of the age stand in cells of one width, so that nothing moves while they change. It never takes the
// keyboard. GUI thread.
class StateDot : public QAbstractButton {
    Q_OBJECT
    Q_PROPERTY(QColor okColour MEMBER m_okColour)
    Q_PROPERTY(QColor warnColour MEMBER m_warnColour)
    Q_PROPERTY(QColor dangerColour MEMBER m_dangerColour)
    Q_PROPERTY(QColor captionColour MEMBER m_captionColour)
    Q_PROPERTY(QColor ageColour MEMBER m_ageColour)

public:
    enum Tone { kOk, kWarn, kDanger };

    // tip: asked for when the tip comes up.
    StateDot(QWidget* parent, std::function<QString()> tip);

    void setCaption(const QString& caption);
    // Repaints when one of the two differs from what is shown.
    void setState(Tone tone, const QString& age);
    Tone tone() const { return m_tone; }
    QString age() const { return m_age; }

    QSize sizeHint() const override;
    // A window that becomes narrow is not kept wide by it.
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* e) override;
    void changeEvent(QEvent* e) override;
    bool event(QEvent* e) override;
    // The window's lowest pixels belong to its edge, by which it is resized.
    bool hitButton(const QPoint& pos) const override;

private:
    QColor colour() const;
    int digitWidth() const;
    int ageWidth(const QString& age) const;

    std::function<QString()> m_tip;
    Tone m_tone = kOk;
    QString m_age;
    QColor m_okColour = Qt::darkGreen;
    QColor m_warnColour = Qt::darkYellow;
    QColor m_dangerColour = Qt::red;
    QColor m_captionColour = Qt::gray;
    QColor m_ageColour = Qt::gray;
};
