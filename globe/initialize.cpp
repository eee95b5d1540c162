#include "globe/initialize.h"

#include <gdal.h>

#include <mutex>

namespace globe {

void initialize() {
    static std::once_flag once;
    std::call_once(once, [] { GDALAllRegister(); });
}

}  // namespace globe
