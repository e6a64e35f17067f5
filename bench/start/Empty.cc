// The floor of a start: a C++ program that does nothing.
int main() {}
