#include <cstdio>

int main() {
    std::puts("vantrel");
    return 0;
}
