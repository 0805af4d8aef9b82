// The SDB reader: the compiler leaves, beside each object file, a text file with the extension sdb that describes the
// object's C-level content. This is the only producer of the tree's nodes.
#pragma once

#include "debug/tree.h"

namespace tavrel {

// Reads the SDB file beside an object file into a new module of the tree and gives the module; an object without an SDB
// file gets a module of class SC_NOSDB. Null if no machine can be chosen. Raises 627, 629, 630, 631, 637, 668, 669.
dsym_t* read_sdb(run_t& run, text_t object_name);

// Appends a filename node to a scope.
dsym_t* add_filename(run_t& run, dsym_t* scope, text_t name, uint32_t line);

} // namespace tavrel
