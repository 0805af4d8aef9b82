// Holtek TSK: the program image of a Holtek microcontroller. 16 bytes: the characters "HL", six of version text, where
// the image starts in the file and how long it is (32 bits each, little-endian); up to the start a further header whose
// first 16 bytes name the microcontroller; the image. The program takes it as input for the image writers.
#include <algorithm>

#include "formats/vendor/holtek.h"

namespace tavrel {
namespace {

constexpr uint32_t head_size = 16;
constexpr uint32_t start_max = 32; // of the image, in files that are understood
constexpr uint32_t piece_max = 256;
constexpr uint32_t version_at = 2, version_size = 6;
constexpr uint32_t start_at = 8;
constexpr uint32_t length_at = 12;

// The header behind the first 16 bytes; nothing for an image that starts within them. False if the file ends in it.
bool read_further_header(input_t& in, uint32_t start, std::span<const uint8_t>& header) {
    const uint32_t size = start > head_size ? start - head_size : 0;
    header = read_bytes(in, size);
    return header.size() == size;
}

text_t text_of(std::span<const uint8_t> bytes) { return cursor_t(bytes, 0).string(); }

} // namespace

bool tsk_probe(run_t&, input_t& in) {
    const auto head = read_bytes(in, head_size);
    return !head.empty() && head[0] == 'H' && head[1] == 'L' && head[start_at] == start_max && head[start_at + 1] == 0;
}

bool tsk_read(run_t& run, input_t& in, text_t) {
    const auto head = read_bytes(in, head_size);
    if (head.empty()) {
        return false;
    }
    const uint32_t start = read32(head.data() + start_at, 0);
    uint32_t length = read32(head.data() + length_at, 0);
    std::span<const uint8_t> header;
    if (start > start_max || !read_further_header(in, start, header)) {
        return false;
    }
    for (uint32_t address = 0; length != 0;) {
        const uint32_t size = std::min(length, piece_max);
        const auto piece = read_bytes(in, size);
        if (piece.empty()) {
            return false;
        }
        add_block(run.model, address, size, piece.data(), 0);
        address += size;
        length -= size;
    }
    return true;
}

bool tsk_write(run_t&, output_t&, text_t) { return false; }

bool tsk_dump(run_t& run, input_t& in) {
    put_text(run.out, "Holtek TSK file dump:\n\n");
    const auto head = read_bytes(in, head_size);
    if (head.empty()) {
        return false;
    }
    const uint32_t start = read32(head.data() + start_at, 0);
    print(run.out, "version = %.6s; data start = 0x%lX; length = 0x%lX\n",
          text_of(head.subspan(version_at, version_size)), start, read32(head.data() + length_at, 0));
    std::span<const uint8_t> header;
    if (start > start_max || !read_further_header(in, start, header)) {
        return false;
    }
    print(run.out, "MCU = %.16s\n", text_of(header));
    return true;
}

const format_t tsk_format = {tsk_probe, tsk_read, tsk_write, tsk_dump, "Holtek TSK", "tsk", "tsk", true};

} // namespace tavrel
