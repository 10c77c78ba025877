// SPDX-License-Identifier: MIT
#include "host/author/Coding.h"

#include "aiff/AIFFHandler.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

constexpr Coding kCodings[] = {
    {"NONE", 0, 1, "NONE", 0},         {"sowt", 0, 1, "sowt", 0},    {"twos", 0, 1, "twos", 0},
    {"raw ", 0, 1, "raw ", 0},         {"in24", 3, 1, "in24", 24},   {"42ni", 3, 1, "42n1", 24},
    {"42n1", 3, 1, "42n1", 24},        {"in32", 4, 1, "in32", 32},   {"23ni", 4, 1, "23ni", 32},
    {"fl32", 4, 1, "fl32", 32},        {"fl64", 8, 1, "fl64", 64},   {"alaw", 1, 1, "alaw", 16},
    {"ulaw", 1, 1, "ulaw", 16},        {"ima4", 34, 64, nullptr, 0}, {"GSM ", 33, 160, "GSM ", 16},
    {"DWVW", -1, 1, "DWVW", kOwnBits}, {"ACE2", -1, 1, nullptr, 0},  {"ACE8", -1, 1, nullptr, 0},
    {"ADP4", -1, 1, nullptr, 0},       {"G722", -1, 1, nullptr, 0},  {"G726", -1, 1, nullptr, 0},
    {"G728", -1, 1, nullptr, 0},       {"MAC3", -1, 1, nullptr, 0},  {"MAC6", -1, 1, nullptr, 0},
    {"QDM2", -1, 1, nullptr, 0},       {"QDMC", -1, 1, nullptr, 0},  {"Qclp", -1, 1, nullptr, 0},
    {"SDX2", -1, 1, nullptr, 0},       {"rt24", -1, 1, nullptr, 0},  {"rt29", -1, 1, nullptr, 0},
};

} // namespace

const Coding* FindCoding(uint32_t code)
{
    const auto* const found = std::ranges::find_if(kCodings, [code](const Coding& coding) {
        return code == FourCC(coding.code) || clAIFFHandler::CompareID(code, coding.code, true);
    });
    return found == std::end(kCodings) ? nullptr : found;
}

} // namespace aiff::host
