// What is wrong with the earth's data, in the operator's language.
#pragma once

#include <QString>
#include <string>
#include <vector>

// One line a problem, each beginning the same, five at most, of which the last may tell how many more there
// are; empty where there is none. Problems come from the globe in English: a reason that is not known here
// stands as it came. GUI thread.
QString problemText(const std::vector<std::string>& problems);
