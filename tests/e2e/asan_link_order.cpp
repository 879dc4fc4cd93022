// Built into the end-to-end tests under AddressSanitizer only. umockdev's preload library has
// to come first in LD_PRELOAD, before the sanitizer's runtime, which the runtime would otherwise
// refuse at start.
extern "C" const char* __asan_default_options() {
    return "verify_asan_link_order=0";
}
