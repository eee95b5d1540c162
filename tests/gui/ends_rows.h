// Runs the table of ends: row by row in one window, against one pod.
//
//   SORVANE_ENDS_ROWS   a regular expression: only the rows "BEGIN x END x MODE" that it finds
#pragma once

#include "ends_table.h"

class EndsRows : public EndsScene {
protected:
    // Every begin against every end that applies to it; each row that goes wrong is a failure of the test.
    void runTable(const std::vector<Begin>& begins, const std::vector<End>& ends);

private:
    // What a row says. A row that could not be set up has judged nothing.
    struct Verdict {
        bool judged;
        QString trouble;  // empty when the row went well
    };
    Verdict runRow(const Begin& begin, const End& end);
    Verdict runRowTwiceIfNeedBe(const Begin& begin, const End& end);

    quint64 m_movements = 0;
    bool m_rested = false;  // m_movements tells what there was at the end of the row before
};
