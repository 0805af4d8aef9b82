// A tree in memory: SDB texts are read into a run, and what stands in the tree and what was said on the way come back
// as text.
#pragma once

#include <string>
#include <vector>

#include "debug/machine.h"
#include "debug/sdb.h"
#include "debug/type.h"

namespace tavrel::testing {

struct tree_session_t {
    memory_files_t files;
    host_t host = memory_host(files);
    run_t run{host};
    int modules = 0;

    explicit tree_session_t(const std::string& processor = "") {
        run.processor_name = processor;
        files.files["messages"] = "623 m 623\n624 m 624\n627 m 627 %d %s %d %d\n629 m 629 %s %s %d %d\n"
                                  "630 m 630 %s\n631 m 631 %s %s %d %d\n637 m 637 %s %s\n668 m 668\n669 m 669\n";
        const std::string path = "messages";
        load_description_file(run.messages, &path);
    }

    // Reads an SDB text as the next module, "m1.obj" and so on.
    dsym_t* read(const std::string& sdb) {
        const std::string name = "m" + std::to_string(++modules);
        files.files[name + ".sdb"] = sdb;
        return read_sdb(run, name + ".obj");
    }
    // The same with a header that fits the processor.
    dsym_t* read_body(const std::string& body) { return read("[p GLOBOPT ]\n" + body); }

    // What went to standard error since the last call.
    std::string said() { return std::exchange(files.err, {}); }

    // The print of the tree without the base types.
    std::string dump() {
        said();
        dump_tree(run);
        const std::string text = said();
        const size_t behind = text.find("typedef: v `v 0\n");
        return behind == std::string::npos ? text : text.substr(behind + 16);
    }

    // The first node of that name that was made behind the base types.
    dsym_t* node(const std::string& name) {
        for (size_t k = 1 + run.machine->base_types.size(); k < run.tree->nodes.size(); ++k) {
            if (run.tree->nodes[k].name == name) {
                return &run.tree->nodes[k];
            }
        }
        return nullptr;
    }
    type_t type(const std::string& name) { return node(name)->variable->type; }
};

} // namespace tavrel::testing
