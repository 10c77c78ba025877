// SPDX-License-Identifier: MIT
#include "support/net/StreamFault.h"

namespace aiff
{

namespace
{

struct FaultText {
    StreamFault fault;
    const wchar_t* text;
};

constexpr FaultText kFaultTexts[] = {
    {StreamFault::None, L"no failure"},
    {StreamFault::BadName, L"not a valid address"},
    {StreamFault::UserInName, L"user names in addresses are not supported"},
    {StreamFault::HostNotFound, L"host not found"},
    {StreamFault::NoSocket, L"the system has no socket left"},
    {StreamFault::Refused, L"connection refused"},
    {StreamFault::Unreachable, L"host cannot be reached"},
    {StreamFault::ConnectTimeout, L"time-out while connecting"},
    {StreamFault::IdleTimeout, L"time-out while waiting for the server"},
    {StreamFault::TooSlow, L"the server is too slow"},
    {StreamFault::ConnectionLost, L"connection lost"},
    {StreamFault::BadResponse, L"the server does not answer in proper HTTP"},
    {StreamFault::HeadTooLong, L"the header of the answer is too long"},
    {StreamFault::UnknownCoding, L"the server sends an unknown coding"},
    {StreamFault::WrongRange, L"the server sends another range than asked for"},
    {StreamFault::Status, L"status "},
    {StreamFault::RedirectWithoutTarget, L"redirect without a valid target"},
    {StreamFault::RedirectElsewhere, L"redirect to something else than http://"},
    {StreamFault::TooManyRedirects, L"too many redirects"},
    {StreamFault::EndedEarly, L"the connection ended before the data"},
};

} // namespace

XStr TextOf(StreamFault fault, int status)
{
    for (const FaultText& row : kFaultTexts)
        if (row.fault == fault)
            return fault == StreamFault::Status ? row.text + std::to_wstring(status) : row.text;
    return {};
}

} // namespace aiff
