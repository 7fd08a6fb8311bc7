// A program, which no process can load as a library.
int main() {
    return 0;
}
