// Lists of combo boxes with rows that a finger hits.
#pragma once

class QWidget;

// Gives every combo box below `root` rows whose height and colours come from the style sheet; the toolkit's
// own rows take neither. Call once, after the form is built.
void enlargeLists(QWidget* root);
