// Raw traffic between the operator and a module of the pod: the bytes of a typed text, the text of what came.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sorvane {

// Modules in the order of their list. All but the last have the code that follows their index.
constexpr int kRelayModules = 14;
// Of a row of the list; 0 for a row outside.
std::uint8_t relayModuleCode(int row);

// Data of the frame to a module: its code, the low byte of the payload number, then a byte a token. Tokens
// are hexadecimal and stand between single blanks: an empty one and one that is no number give 0, one above
// FF its low byte. The last one counts only with two characters or more.
std::vector<std::uint8_t> relayData(int row, int number, std::u16string_view text);

// What modules have sent within one moment; it is shown together, under the name of the first.
class RelayBurst {
public:
    // Data of a frame: module, payload number, bytes. Fewer than two bytes change nothing. True when the
    // burst begins by it.
    bool add(const unsigned char* data, int size);
    bool empty() const { return m_count == 0; }
    // Of the first frame: the module's row in the list, -1 for none; the byte as it came; the payload number.
    int row() const;
    int module() const { return m_module; }
    int number() const { return m_number; }
    // The bytes of all frames: two digits and a blank each.
    const std::string& digits() const { return m_digits; }
    void clear();

private:
    int m_count = 0;
    int m_module = 0;
    int m_number = 0;
    std::string m_digits;
};

}  // namespace sorvane
