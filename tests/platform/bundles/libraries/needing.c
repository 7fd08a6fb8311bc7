int quarry_test_outer(void);

__attribute__((visibility("default"))) int quarry_test_needing(void) {
    return quarry_test_outer();
}
