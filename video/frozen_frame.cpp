#include "video/frozen_frame.h"

#include <QApplication>
#include <QPainter>
#include <QRegion>
#include <QStyleOption>
#include <cmath>
#include <utility>

#include "video/picture_geometry.h"
#include "video/qmyvideowidget.h"

namespace {

constexpr int kLine = 2;

}  // namespace

FrozenFrame::FrozenFrame(const QMyVideoWidget& picture, std::function<bool(int)> frozen)
    : MyTransDlg(picture.window()), m_picture(picture), m_frozen(std::move(frozen)) {
    setObjectName(picture.objectName() + QStringLiteral("_frozen"));
    setWindowFlag(Qt::WindowTransparentForInput);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

// The sheet's background; a window that lets its ground through has none by itself.
void FrozenFrame::paintEvent(QPaintEvent* /*e*/) {
    QPainter painter(this);
    QStyleOption option;
    option.initFrom(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
}

QRect FrozenFrame::pixels() const {
    const double ratio = m_picture.devicePixelRatioF();
    const int width = static_cast<int>(m_picture.drawnOn().width() * ratio);
    const int height = static_cast<int>(m_picture.drawnOn().height() * ratio);
    const QSize source = m_picture.pictureSize();
    const sorvane::PictureRect rect = sorvane::placePicture(
        sorvane::fitPicture(source.width(), source.height(), width, height), width, height);
    const QPoint first(static_cast<int>(std::floor(rect.x / ratio)),
                       static_cast<int>(std::floor(rect.y / ratio)));
    const QPoint end(static_cast<int>(std::ceil((rect.x + rect.width) / ratio)),
                     static_cast<int>(std::ceil((rect.y + rect.height) / ratio)));
    const QRect seen = QRect(first, end - QPoint(1, 1)) & m_picture.rect();
    return {m_picture.mapToGlobal(seen.topLeft()), seen.size()};
}

void FrozenFrame::follow() {
    const bool wanted = m_picture.isVisible() && !m_picture.window()->isMinimized() &&
                        m_picture.pictureSize().isValid() && m_frozen(m_picture.windowId());
    if (!wanted) {
        hide();
        return;
    }
    const QRect inner = pixels();
    if (inner.isEmpty()) {
        hide();
        return;
    }
    const QRect outer = inner.adjusted(-kLine, -kLine, kLine, kLine);
    QRegion line = QRegion(outer) - QRegion(inner);
    const QWidgetList tops = QApplication::topLevelWidgets();
    for (const QWidget* top : tops) {
        if (top->isVisible() && top != m_picture.window() &&
            qobject_cast<const FrozenFrame*>(top) == nullptr &&
            !top->testAttribute(Qt::WA_TransparentForMouseEvents)) {
            line -= top->frameGeometry();
        }
    }
    line.translate(-outer.topLeft());
    if (line.isEmpty()) {
        hide();
        return;
    }
    if (geometry() != outer) {
        setGeometry(outer);
    }
    if (mask() != line) {
        setMask(line);
    }
    show();
}
