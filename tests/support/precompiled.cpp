// Nothing but the owner of the header that the programs of tests share: see CMakeLists.txt beside this folder.

int main() {}
