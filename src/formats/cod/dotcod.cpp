#include "formats/cod/dotcod.h"

namespace tavrel {

const format_t cod_format = {cod_probe, cod_read, cod_write, cod_dump, ".COD", "cod", "cod", true};

} // namespace tavrel
