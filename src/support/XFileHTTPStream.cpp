#include "support/XFileHTTPStream.h"

bool XFileHTTPStream::Open(const wchar_t* name)
{
    Close();
    if (BeginsNoCase(name, L"http://"))
        return false;
    m_fromInternet = false;
    return m_file.Open(name);
}

void XFileHTTPStream::Close() noexcept
{
    m_file.Close();
}
