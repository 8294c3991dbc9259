// A program built without any hardening, which the check of hardening has to reject.
int main() {}
