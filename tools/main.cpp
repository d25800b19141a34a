#include <cstdio>

int main() {
    std::puts("ecckey");
    return 0;
}
