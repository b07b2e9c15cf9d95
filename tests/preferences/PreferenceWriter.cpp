// A second process for the domain tests: writes COUNT keys "<prefix><n>" to the domain file,
// synchronising after each, as a settings window does while a user clicks.
#include "preferences/PreferenceDomain.h"

#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    if (argc != 4)
        return 2;
    corvane::PreferenceDomain domain("test", argv[1]);
    const int count = std::atoi(argv[3]);
    for (int i = 0; i < count; ++i) {
        domain.setValue(std::string(argv[2]) + std::to_string(i), i);
        if (!domain.synchronize())
            return 1;
    }
    return 0;
}
