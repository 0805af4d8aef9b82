// Any text as SDB files: the bytes up to each NUL are one module. The tree is printed, every variable is placed and
// measured, and every type goes through the table of types.
#include "common/alert_file.h"
#include "debug/machine.h"
#include "debug/sdb.h"
#include "debug/type.h"

namespace {

using namespace tavrel;

void visit_scope(run_t& run, type_map_t& map, const dsym_t& scope) {
    const auto& members = scope.scope->members;
    for (uint32_t k = 0; k < members.size(); ++k) {
        dsym_t* const node = members[k];
        if (node->scope != nullptr) {
            visit_scope(run, map, *node);
        } else if (node->variable != nullptr && node->variable->type != nullptr) {
            location_t location;
            resolve_location(run, node, {&scope, k}, location);
            type_size(run, node->variable->type);
            type_hash(run, node->variable->type);
            if (type_map_find(map, node->variable->type) == nullptr && !type_map_add(map, node->variable->type, k)) {
                __builtin_trap();
            }
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    memory_files_t memory;
    memory.files["messages"] = "627 w\n629 0 %s\n630 0 %s\n631 0 %s\n637 0 %s\n668 0 %s\n669 0 %s\n";
    const host_t host = memory_host(memory);
    const text_t text(reinterpret_cast<const char*>(data), size);
    for (const char* const processor : {"", "16F877", "30F6014", "8051"}) {
        run_t run(host);
        const std::string messages = "messages";
        load_description_file(run.messages, &messages);
        run.processor_name = processor;
        run.fake_blocks = processor[0] == '3';
        try {
            for (size_t at = 0; at <= size;) {
                const size_t end = std::min(text.find('\0', at), size);
                memory.files["m.sdb"] = text.substr(at, end - at);
                read_sdb(run, "m.obj");
                at = end + 1;
            }
        } catch (const end_of_run_t&) {
            continue;
        }
        dump_tree(run);
        if (run.global_block != nullptr) {
            type_map_t map = type_map_new(run);
            visit_scope(run, map, *run.global_block);
        }
        memory.err.clear();
    }
    return 0;
}
