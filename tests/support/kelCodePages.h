#pragma once

namespace nx::test {

/// Code pages of every kind that ICU knows: Unicode forms, single and multiple bytes, with shift
/// states, with and without a signature. Fuzz inputs choose by position: append at the end.
inline constexpr const char* CODE_PAGES[] = {
    "UTF-8",        "utf-8",   "UTF-16", "UTF-16LE", "UTF-16BE",    "UTF-32",
    "UTF-7",        "CESU-8",  "SCSU",   "BOCU-1",   "ISO-8859-1",  "ISO-8859-15",
    "windows-1252", "KOI8-R",  "Big5",   "US-ASCII", "Shift_JIS",   "EUC-JP",
    "EUC-KR",       "GB18030", "HZ",     "ibm-930",  "ISO-2022-JP", "IMAP-mailbox-name",
};

/// Other spellings of some of them, and the two ways to ask for the default converter.
inline constexpr const char* CODE_PAGE_ALIASES[] = {
    nullptr, "", "UTF8", "utf8", "ISO8859_1", "latin1", "SJIS", "cp1252", "UTF-16,version=1",
};

}  // namespace nx::test
