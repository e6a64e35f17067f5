// The floor of a start: a program that links the same shared libraries and does nothing.
int main() {}
