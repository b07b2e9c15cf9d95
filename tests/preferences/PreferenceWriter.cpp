// A second process for the domain tests, synchronising after each write as a settings window
// does while a user clicks:
//   preference_writer FILE PREFIX COUNT       writes COUNT keys "<prefix><n>" = n
//   preference_writer FILE --set KEY VALUE... writes each VALUE to KEY in turn
//   preference_writer FILE --toggle KEY ELEMENT COUNT
//       COUNT times adds ELEMENT to the list under KEY and removes it again, then adds it once
//       more; exits with 3 when the list ever lacks or holds ELEMENT against this process's own
//       last change, which is what a lost update looks like.
#include "preferences/PreferenceDomain.h"

#include <cstdlib>
#include <string>

namespace {

int toggle(corvane::PreferenceDomain& domain, const std::string& key, const std::string& element,
           int count) {
    bool lost = false;
    auto change = [&](bool add) {
        return [&, add](const corvane::Value& current) {
            corvane::Value::Array items;
            bool present = false;
            for (const auto& item : current.arrayItems()) {
                if (item.string() == element)
                    present = true;
                else
                    items.push_back(item);
            }
            lost = lost || present == add;
            if (add)
                items.push_back(element);
            return corvane::Value(std::move(items));
        };
    };
    for (int i = 0; i < count; ++i) {
        if (!domain.updateValue(key, change(true)) || !domain.updateValue(key, change(false)))
            return 1;
    }
    if (!domain.updateValue(key, change(true)))
        return 1;
    return lost ? 3 : 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4)
        return 2;
    corvane::PreferenceDomain domain("test", argv[1]);
    const std::string mode = argv[2];
    if (mode == "--toggle" && argc == 6)
        return toggle(domain, argv[3], argv[4], std::atoi(argv[5]));
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
