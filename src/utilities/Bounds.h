/// @file
/// The bounds that data from outside is held to: what is at a bound is accepted, what is one beyond it is refused.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vlm::bounds {

/// How deep list values may nest; settings need about six.
inline constexpr unsigned MAX_LIST_NESTING = 64;

/// Longest text in a record, in UTF-16 code units: what its 16-bit count can say.
inline constexpr std::size_t MAX_RECORD_TEXT_UNITS = 0xFFFF;

/// Most bytes in a blob, a list or a state: what the 32-bit counts can say.
inline constexpr std::uint64_t MAX_COUNTED_BYTES = 0xFFFFFFFF;

/// Most bytes that a compressed state kept in memory, a device mode or a registry value may claim to expand to; the
/// default of every compressed buffer.
inline constexpr std::uint32_t MAX_STATE_ORIGINAL_BYTES = 64 * 1024 * 1024;

/// The same for a file of the family, unless its caller asks for more.
inline constexpr std::uint32_t MAX_FILE_ORIGINAL_BYTES = 256 * 1024 * 1024;

/// Most bytes that `cCompressed` bytes of deflate can stand for: it reaches 1,032 to one, and short data has room to
/// spare.  A larger claim is false.
constexpr std::uint64_t MaxOriginalBytes(std::uint64_t cCompressed) noexcept {
    return 1100 * cCompressed + 32 * 1024;
}

/// Most bytes of working memory that a cabinet library gets for one operation; it needs about half a megabyte.
inline constexpr std::size_t MAX_CABINET_WORK_BYTES = 16 * 1024 * 1024;

/// Most bytes of text in a UTF-8 INI file.
inline constexpr std::uint32_t MAX_INI_TEXT_BYTES = 64 * 1024 * 1024;

/// Most rounds of a key derivation: a caller's number must not stop a program for minutes.
inline constexpr int MAX_KEY_ROUNDS = 1'000'000;

// ---- registry ----

/// Largest value that is read, in bytes.
inline constexpr std::size_t MAX_REGISTRY_VALUE_BYTES = 16 * 1024 * 1024;
/// Names that one list of them gathers.
inline constexpr std::size_t MAX_LISTED_NAMES = 1024 * 1024;
/// Keys of a tree that a program deletes or copies for itself, and their data; the monitor has quotas of its own below.
inline constexpr std::uint64_t MAX_TREE_KEYS = 1024 * 1024;
inline constexpr std::uint64_t MAX_TREE_DATA_BYTES = 4ull * 1024 * 1024 * 1024;

// ---- print spooler ----

/// Largest information block and value of printer data that is taken from a spooler, in bytes.
inline constexpr std::size_t MAX_SPOOLER_BLOCK_BYTES = 16 * 1024 * 1024;

// ---- requests to the port monitor ----

/// Data of one request, in bytes, and the whole record: the data and 64 KiB for the rest.
inline constexpr std::size_t MAX_REQUEST_DATA_BYTES = 1024 * 1024;
inline constexpr std::size_t MAX_REQUEST_BYTES = MAX_REQUEST_DATA_BYTES + 64 * 1024;
/// A record without strings and data.
inline constexpr std::size_t MIN_REQUEST_BYTES = 50;

/// A key path in UTF-16 code units, in components, and one component; a value name.
inline constexpr std::size_t MAX_KEY_PATH_UNITS = 1024;
inline constexpr std::size_t MAX_KEY_COMPONENTS = 32;
inline constexpr std::size_t MAX_KEY_COMPONENT_UNITS = 255;
inline constexpr std::size_t MAX_VALUE_NAME_UNITS = 16383;

/// Values that one query may ask for.
inline constexpr std::size_t MAX_VALUE_LIST_ENTRIES = 4096;

/// A reply: the data of one value, or of a value list with its entries.
inline constexpr std::size_t MAX_REPLY_BYTES = MAX_REQUEST_BYTES + MAX_VALUE_LIST_ENTRIES * 32;

// ---- quotas of the port monitor: what one caller, one call and one user may take ----

/// Key handles of one channel; channels of one user, and of all.
inline constexpr std::size_t MAX_CHANNEL_KEYS = 256;
inline constexpr std::size_t MAX_USER_CHANNELS = 64;
inline constexpr std::size_t MAX_CHANNELS = 1024;

/// Data of one value that is read or copied; names of one enumeration.
inline constexpr std::uint32_t MAX_MONITOR_VALUE_BYTES = 1024 * 1024;
inline constexpr std::uint32_t MAX_ENUMERATED_NAMES = 65536;

/// Keys, bytes and levels of one copy; keys of one recursive deletion, and how deep the registry can be.
inline constexpr std::uint32_t MAX_COPIED_KEYS = 10000;
inline constexpr std::uint64_t MAX_COPIED_BYTES = 64 * 1024 * 1024;
inline constexpr std::size_t MAX_COPIED_LEVELS = 32;
inline constexpr std::uint32_t MAX_DELETED_KEYS = 100000;
inline constexpr std::size_t MAX_KEY_LEVELS = 512;

/// One user's low-rights storage: keys; and bytes of data and names, each key and value counted with 64 more.
inline constexpr std::uint32_t MAX_STORAGE_KEYS = 10000;
inline constexpr std::uint64_t MAX_STORAGE_BYTES = 16 * 1024 * 1024;

// ---- product data ----

/// A map file in bytes, one line of it in characters, its records, and the sysObjectIds of one record.
inline constexpr std::size_t MAX_MAP_FILE_BYTES = 64 * 1024 * 1024;
inline constexpr std::size_t MAX_MAP_LINE_UNITS = 64 * 1024;
inline constexpr std::size_t MAX_MAP_RECORDS = 100'000;
inline constexpr std::size_t MAX_MAP_OBJECT_IDS = 1024;
/// Characters of all map data of one file, once what its lines for all models say stands in every record.
inline constexpr std::size_t MAX_MAP_DATA_UNITS = 64 * 1024 * 1024;

/// A PDL command file in bytes, its instructions, and the bytes that one command makes.
inline constexpr std::size_t MAX_PDL_FILE_BYTES = 4 * 1024 * 1024;
inline constexpr std::size_t MAX_PDL_INSTRUCTIONS = 65536;
inline constexpr std::size_t MAX_PDL_COMMAND_BYTES = 64 * 1024;

/// What one unpacking may make, nested cabinet files included: files, bytes, cabinet files and their nesting.
inline constexpr std::size_t MAX_UNPACKED_FILES = 65535;
inline constexpr std::uint64_t MAX_UNPACKED_BYTES = 2ull * 1024 * 1024 * 1024;
inline constexpr std::size_t MAX_UNPACKED_CABINETS = 1000;
inline constexpr unsigned MAX_CABINET_NESTING = 4;

/// A tree of folders: levels, and entries of all its folders together.
inline constexpr unsigned MAX_FOLDER_LEVELS = 32;
inline constexpr std::size_t MAX_FOLDER_ENTRIES = 262'144;

/// One file of product data.
inline constexpr std::uint32_t MAX_PRODUCT_FILE_BYTES = 64 * 1024 * 1024;

}  // namespace vlm::bounds
