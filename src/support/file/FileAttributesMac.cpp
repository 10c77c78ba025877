#include "support/file/FileAttributes.h"

#include <copyfile.h>

bool CopyExtendedAttributes(int from, int to)
{
    return fcopyfile(from, to, nullptr, COPYFILE_XATTR | COPYFILE_ACL) == 0;
}
