// Of the targets that only hold compiled headers.
int main() { return 0; }
