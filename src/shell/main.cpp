// Placeholder entry point until the windows land: starts nothing but says so.
#include <cstdio>

int main() {
    std::puts("i2cbridge: the windows are not built yet");
    return 0;
}
