// Placeholder process entry until the session lands.
int main() { return 0; }
