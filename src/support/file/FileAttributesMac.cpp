#include "support/file/FileAttributes.h"
#include "support/file/SystemError.h"

#include <copyfile.h>

namespace aiff
{

std::error_code CopyExtendedAttributes(int from, int to)
{
    if (fcopyfile(from, to, nullptr, COPYFILE_XATTR | COPYFILE_ACL) != 0)
        return LastSystemError();
    return {};
}

} // namespace aiff
