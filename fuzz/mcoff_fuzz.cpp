// Any bytes as Microchip COFF.
#include "coff_family_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tavrel::fuzz_coff_family("mcoff", data, size);
    return 0;
}
