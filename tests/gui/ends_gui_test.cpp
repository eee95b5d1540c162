// Whatever ends a hold, the frame that stops it leaves, each movement gets the stop of its own code, and
// nothing on the pod moves once the hand is gone. Judged from outside, by a pod that forgives nothing.
#include "ends_rows.h"

namespace {

class Ends : public EndsRows {};

TEST_F(Ends, InSingleMode) {
    setMode(true);
    runTable(allBegins(), allEnds());
}

TEST_F(Ends, InPeriodicMode) {
    setMode(false);
    runTable(allBegins(), allEnds());
}

TEST_F(Ends, WithATickASecond) {
    setMode(false, 1000);
    std::vector<Begin> few;
    for (const Begin& begin : allBegins()) {
        for (const char* name : {"arrow by mouse", "visible zoom by mouse", "wheel up on picture 1"}) {
            if (begin.name == name) {
                few.push_back(begin);
            }
        }
    }
    runTable(few, endsAfterTheRelease());
}

}  // namespace
