// The captions of the command catalogue against the built forms: what the table says is what the operator
// reads.
#include <QGridLayout>
#include <QLabel>

#include "app/config/my_app_config.h"
#include "pages_fixture.h"

namespace {

using sorvane::CatalogueRow;
using sorvane::ControlKind;
using sorvane::ServoMode;

// The layout that holds the widget itself, and the widget's row where it is a grid (else 0).
struct Place {
    QLayout* layout = nullptr;
    int row = 0;
};

int rowOf(const QLayout* layout, QWidget* widget) {
    const auto* grid = qobject_cast<const QGridLayout*>(layout);
    if (grid == nullptr) {
        return 0;
    }
    int row = -1;
    int column = 0;
    int rows = 0;
    int columns = 0;
    grid->getItemPosition(grid->indexOf(widget), &row, &column, &rows, &columns);
    return row;
}

Place placeOf(QWidget* widget) {
    for (QLayout* layout : widget->parentWidget()->findChildren<QLayout*>()) {
        if (layout->indexOf(widget) >= 0) {
            return {layout, rowOf(layout, widget)};
        }
    }
    return {};
}

// The texts of the labels that stand in the widget's row.
QStringList labelsBeside(QWidget* widget) {
    const Place place = placeOf(widget);
    QStringList texts;
    for (int i = 0; place.layout != nullptr && i < place.layout->count(); ++i) {
        auto* label = qobject_cast<QLabel*>(place.layout->itemAt(i)->widget());
        if (label != nullptr && rowOf(place.layout, label) == place.row) {
            texts << label->text();
        }
    }
    return texts;
}

QStringList captionsOf(const QAbstractButton* button) {
    return button->text().isEmpty() ? QStringList{button->accessibleName(), button->toolTip()}
                                    : QStringList{button->text()};
}

QStringList captionsOf(QWidget* control) {
    QStringList captions = labelsBeside(control);
    captions << control->toolTip();
    if (const auto* box = qobject_cast<QComboBox*>(control)) {
        captions << box->itemText(0);
    }
    return captions;
}

class CatalogueCaptions : public PagesPartTest {
protected:
    void SetUp() override { fields.fillCombos(MyAppConfig(QStringLiteral("captions.ini"))); }

    // As the catalogue looks controls up: below the page, by name and class.
    template <typename T>
    T* control(const CatalogueRow& row) const {
        const QWidget* page =
            row.kind == ControlKind::kSettingsButton ? settings_form.osd_page : form.control_pages;
        return page->findChild<T*>(QLatin1String(row.object));
    }
};

TEST_F(CatalogueCaptions, ButtonsBearThem) {
    int buttons = 0;
    for (const CatalogueRow& row : sorvane::commandCatalogue()) {
        if (row.kind != ControlKind::kButton && row.kind != ControlKind::kSettingsButton) {
            continue;
        }
        const auto* button = control<QMyCmdBtn>(row);
        ASSERT_NE(button, nullptr) << row.object;
        fields.showServoMode(row.servo != ServoMode::kGyro);
        EXPECT_TRUE(captionsOf(button).contains(QString::fromUtf8(row.caption)))
            << row.object << ": " << row.caption << " / " << qPrintable(captionsOf(button).join(" | "));
        ++buttons;
    }
    EXPECT_GT(buttons, 60);
}

TEST_F(CatalogueCaptions, BoxesAndSwitchesStandBesideThem) {
    int controls = 0;
    for (const CatalogueRow& row : sorvane::commandCatalogue()) {
        QWidget* widget = nullptr;
        if (row.kind == ControlKind::kCombo) {
            widget = control<QComboBox>(row);
        } else if (row.kind == ControlKind::kSwitch) {
            widget = control<SwitchControl>(row);
        } else {
            continue;
        }
        ASSERT_NE(widget, nullptr) << row.object;
        EXPECT_TRUE(captionsOf(widget).contains(QString::fromUtf8(row.caption)))
            << row.object << ": " << row.caption << " / " << qPrintable(captionsOf(widget).join(" | "));
        ++controls;
    }
    EXPECT_GT(controls, 20);
}

TEST_F(CatalogueCaptions, NoneIsEmpty) {
    for (const CatalogueRow& row : sorvane::commandCatalogue()) {
        EXPECT_STRNE(row.caption, "") << row.object;
    }
}

}  // namespace
