#include "widgets/input_connection.h"

std::optional<void*> inputConnection() { return nullptr; }
