// A module with the entry of a version that does not exist.
__attribute__((visibility("default"))) const void* quarry_pdf_module_0(void);
const void* quarry_pdf_module_0(void) {
    return 0;
}
