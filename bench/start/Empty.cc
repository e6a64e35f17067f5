// The floor of a start: a program that links the library and does nothing.
int main() {}
