int quarry_test_inner(void);

__attribute__((visibility("default"))) int quarry_test_outer(void) {
    return quarry_test_inner();
}
