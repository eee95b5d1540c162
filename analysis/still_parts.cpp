#include "analysis/still_parts.h"

#include <QFont>
#include <QGraphicsEffect>
#include <QGraphicsItem>
#include <QStyleOptionGraphicsItem>
#include <utility>

namespace {

// A part that has moved goes back into the picture when it has stood still for so many paintings: others than
// those of a new sample come in between.
constexpr int kStillPaintings = 8;

// All that decides what the items of a part look like.
struct Looks {
    std::vector<double> numbers;
    std::vector<QString> texts;
    std::vector<QFont> fonts;
    void clear() {
        numbers.clear();
        texts.clear();
        fonts.clear();
    }
    bool operator==(const Looks& other) const {
        return numbers == other.numbers && texts == other.texts && fonts == other.fonts;
    }
};

void describeLine(const QGraphicsLineItem& item, Looks& looks) {
    const QLineF line = item.line();
    const QPen pen = item.pen();
    looks.numbers.insert(looks.numbers.end(),
                         {item.x(), item.y(), line.x1(), line.y1(), line.x2(), line.y2(), pen.widthF(),
                          static_cast<double>(pen.color().rgba()), static_cast<double>(pen.style())});
}

void describeText(const QGraphicsTextItem& item, Looks& looks) {
    const QTransform at = item.sceneTransform();
    looks.numbers.insert(looks.numbers.end(),
                         {at.m11(), at.m12(), at.m21(), at.m22(), at.dx(), at.dy(),
                          static_cast<double>(item.defaultTextColor().rgba()), item.textWidth()});
    looks.texts.push_back(item.toPlainText());
    looks.fonts.push_back(item.font());
}

// False for a part that holds anything but lines and texts.
bool describe(const QGraphicsItem& item, Looks& looks) {
    looks.numbers.push_back(item.isVisible() ? 1 : 0);
    if (!item.isVisible()) {
        return true;
    }
    if (const auto* line = qgraphicsitem_cast<const QGraphicsLineItem*>(&item)) {
        describeLine(*line, looks);
    } else if (const auto* text = qgraphicsitem_cast<const QGraphicsTextItem*>(&item)) {
        describeText(*text, looks);
    } else if (item.type() != QGraphicsItemGroup::Type) {
        return false;
    }
    const auto children = item.childItems();
    for (const QGraphicsItem* child : children) {
        if (!describe(*child, looks)) {
            return false;
        }
    }
    return true;
}

// Keeps a part out of the scene's painting while the picture has it.
class Part : public QGraphicsEffect {
public:
    // Looks what has become of the item.
    void look(const QGraphicsItem& item) {
        std::swap(m_looks, m_before);
        m_looks.clear();
        m_known = describe(item, m_looks);
        const bool changed = !(m_looks == m_before);
        m_moves = (changed && m_changed) || (m_moves && (changed || m_still < kStillPaintings));
        m_still = changed ? 0 : m_still + 1;
        m_changed = changed;
    }
    bool holdsText() const { return !m_looks.texts.empty(); }
    // Lines stay in the picture whatever they do: they lie upon each other in an order.
    bool inPicture() const { return m_known && !(m_moves && holdsText()); }
    // Since the time before.
    bool changed() const { return m_changed; }

protected:
    void draw(QPainter* painter) override {
        if (!inPicture()) {
            drawSource(painter);
        }
    }

private:
    Looks m_looks, m_before;
    int m_still = 0;
    bool m_known = false;
    bool m_changed = false;
    bool m_moves = false;
};

// Null for a child of the chart that is none: the curves, the legend.
Part* partOf(QGraphicsItem& item) {
    if (item.type() != QGraphicsItemGroup::Type && item.type() != QGraphicsTextItem::Type) {
        return nullptr;
    }
    if (item.graphicsEffect() == nullptr) {
        item.setGraphicsEffect(new Part);
    }
    return dynamic_cast<Part*>(item.graphicsEffect());
}

void paintItem(QPainter& painter, const QTransform& view, QGraphicsItem& item) {
    if (!item.isVisible()) {
        return;
    }
    if (item.type() != QGraphicsItemGroup::Type) {
        QStyleOptionGraphicsItem option;
        option.exposedRect = item.boundingRect();
        painter.setWorldTransform(item.sceneTransform() * view);
        item.paint(&painter, &option, nullptr);
    }
    const auto children = item.childItems();
    for (QGraphicsItem* child : children) {
        paintItem(painter, view, *child);
    }
}

}  // namespace

void StillParts::look(const QGraphicsItem& chart, const Area& area) {
    Layer lines, texts;
    const auto children = chart.childItems();
    for (QGraphicsItem* item : children) {
        Part* part = partOf(*item);
        if (part == nullptr) {
            continue;
        }
        part->look(*item);
        if (part->inPicture()) {
            Layer& layer = part->holdsText() ? texts : lines;
            layer.items.push_back(item);
            layer.changed = layer.changed || part->changed();
        }
    }
    const bool anew = !(area == m_area) || lines.changed || lines.items != m_lines.items;
    const bool texts_anew = anew || texts.changed || texts.items != m_texts.items;
    m_area = area;
    m_lines = std::move(lines);
    m_texts = std::move(texts);
    if (anew) {
        m_ground = QPixmap(area.size * area.ratio);
        m_ground.setDevicePixelRatio(area.ratio);
        m_ground.fill(area.ground.color());
        paint(m_ground, m_lines);
    }
    if (texts_anew) {
        m_picture = m_ground;
        paint(m_picture, m_texts);
    }
}

void StillParts::paint(QPixmap& picture, const Layer& layer) const {
    QPainter painter(&picture);
    painter.setRenderHints(painter.renderHints(), false);
    painter.setRenderHints(m_area.hints);
    const QTransform view = QTransform::fromTranslate(-m_area.origin.x(), -m_area.origin.y());
    for (QGraphicsItem* item : layer.items) {
        paintItem(painter, view, *item);
    }
}
