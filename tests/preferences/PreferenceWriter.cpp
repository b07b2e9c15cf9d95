// A second process for the domain tests, synchronising after each write as a settings window
// does while a user clicks:
//   preference_writer FILE PREFIX COUNT       writes COUNT keys "<prefix><n>" = n
//   preference_writer FILE --set KEY VALUE... writes each VALUE to KEY in turn
#include "preferences/PreferenceDomain.h"

#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    if (argc < 4)
        return 2;
    corvane::PreferenceDomain domain("test", argv[1]);
    const std::string mode = argv[2];
    if (mode == "--set") {
        for (int i = 4; i < argc; ++i) {
            domain.setValue(argv[3], std::string(argv[i]));
            if (!domain.synchronize())
                return 1;
        }
        return 0;
    }
    const int count = std::atoi(argv[3]);
    for (int i = 0; i < count; ++i) {
        domain.setValue(mode + std::to_string(i), i);
        if (!domain.synchronize())
            return 1;
    }
    return 0;
}
