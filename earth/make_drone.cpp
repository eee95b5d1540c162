// Makes the aircraft's model for the run-time tree.
//   make_drone OUT.osgb
#include <osgDB/WriteFile>

#include <cstdio>

#include "earth/drone_model.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_drone OUT.osgb\n");
        return 2;
    }
    if (!osgDB::writeNodeFile(*earth::makeDrone(), argv[1])) {
        std::fprintf(stderr, "%s: cannot be written\n", argv[1]);
        return 1;
    }
    return 0;
}
