#include "support/FakeDBusService.h"

// The fake D-Bus service as a program of its own, for tests that kill a service outright.
int main(int argc, char** argv) {
    return corvane::test::fakeDBusServiceMain(argc, argv);
}
