// What the check of hardening has to reject: built without any of it.
int main() {}
