#include "text/decoder.h"
#include "text/files.h"

#include <dlfcn.h>

namespace text {

std::unique_ptr<DecodedFile> openDecoded(int file)
{
    static constexpr char module[] = "morvel-decoder.so";  // found by the program's run path
    void *const library = dlopen(module, RTLD_NOW);
    void *const function = library ? dlsym(library, "openDecodedFile") : nullptr;
    if (!function)
        onFailure("read", module);
    return std::unique_ptr<DecodedFile>(reinterpret_cast<DecodedFile *(*)(int)>(function)(file));
}

}  // namespace text
