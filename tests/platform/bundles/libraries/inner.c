__attribute__((visibility("default"))) int quarry_test_inner(void) {
    return 1;
}
