// Nothing but the owner of the header that the programs of tests share: see the CMakeLists.txt
// above it.

int main() {}
