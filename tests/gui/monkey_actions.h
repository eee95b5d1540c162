// What the monkey can do with the window: each action is one line of text, so that a log of them can be
// replayed.
#pragma once

#include <QStringList>
#include <random>

#include "ends_scene.h"

// Numbers that are the same on every machine for one seed.
class Dice {
public:
    explicit Dice(unsigned seed) : m_source(seed) {}
    // 0 to n - 1; n at least 1.
    int below(int n) { return static_cast<int>(m_source() % static_cast<unsigned>(n)); }
    template <typename List>
    QString one(const List& names) {
        return QString::fromLatin1(names[below(static_cast<int>(std::size(names)))]);
    }

private:
    std::mt19937 m_source;
};

// The next action, "VERB ARGUMENT ...".
QString chooseAction(Dice& dice);
// Does it; what cannot be done just now (a control out of sight, a finger that is not down) does nothing.
// False for a line that is no action.
bool perform(EndsScene& scene, const QString& action);
