/// \file
/// Host utilities (U): memory, reports, texts, threads and the CPU description.
///
/// Rules common to the whole file
/// - Nothing here throws. A function that returns U_Err returns 0 for success.
/// - Every function may be called from any thread. "The thread's" state (last error, logging buffer,
///   quiet scope) belongs to the calling thread.
/// - Texts are UTF-8 and end in a zero byte.
/// - The host library's version, as asked by the library at its first version check, is 61.
#ifndef HOST_U_H
#define HOST_U_H

#include <cstddef>
#include <cstdint>

#include "host/Export.h"

/// Error code of a host service: 0 is success, 3 a failure that has been reported, 4 out of memory.
using U_Err = std::int32_t;

extern "C" {

/// \name Versions
/// @{

/// Asks whether this host library serves a caller built against `expected_version`.
/// \param caller identifier of the asking library; its high 16 bits are a module number.
/// \return 0, or a non-zero code when the versions do not fit.
HOST_EXPORT U_Err U_CheckVersions(std::uint32_t caller, std::int32_t expected_version);
/// @}

/// \name Memory
/// Addresses are aligned for any scalar type (at least 8 bytes, not necessarily 16). Failures yield
/// null and are reported by the host under the given name, unless a quiet scope is open.
/// @{

/// Allocates `size` bytes, uninitialised. The caller owns the block until U_FreePtr.
/// \param what names the thing in an out-of-memory report; null for no report.
HOST_EXPORT void* U_AllocatePtr(std::uint64_t size, const char* what);
/// Releases a block of U_AllocatePtr. Null is allowed.
HOST_EXPORT void U_FreePtr(void* block);

/// A relocatable block. The word that the handle points at holds the block's current address; the host
/// may move an unlocked block during any call of this family, so the address must be read anew.
using U_Handle = void**;

/// Allocates a relocatable block of `size` bytes, uninitialised; a size of 0 is legal.
HOST_EXPORT U_Handle U_AllocateHandle(std::uint64_t size, const char* what);
/// As U_AllocateHandle, with every byte zero.
HOST_EXPORT U_Handle U_AllocateHandleClear(std::uint64_t size, const char* what);
/// Size in bytes as requested.
HOST_EXPORT std::uint64_t U_GetHandleSize(U_Handle handle);
/// Pins the block and returns its address. Locks nest.
HOST_EXPORT void* U_LockHandle(U_Handle handle);
/// Undoes one U_LockHandle.
HOST_EXPORT void U_UnlockHandle(U_Handle handle);
/// Releases the block and the handle, locked or not. Null is allowed.
HOST_EXPORT void U_FreeHandle(U_Handle handle);
/// @}

/// \name Reports
/// A report identifier holds the reporting library's module number in its high 16 bits and the number
/// of the reporting site in its low 16 bits.
/// @{

/// Reports an internal consistency failure.
/// \param line source line of the site.
/// \param reserved 0.
/// \return 3.
HOST_EXPORT U_Err U_ReportFailedVerification(std::uint32_t identifier, std::int32_t line, std::int32_t reserved,
                                             const char* text);
/// Reports a caller's error with a text for the user.
/// \param kind 8: the text is shown as it stands.
/// \return the code that stands for "has been reported", 3.
HOST_EXPORT U_Err Up_ReportErrString(std::uint32_t identifier, std::int32_t kind, const char* text);
/// Reports what stands in the thread's logging buffer.
/// \param module module number of the library that is told about.
/// \param kind 16: a version mismatch.
HOST_EXPORT U_Err Up_ReportError(std::uint32_t module, std::int32_t kind);
/// Sets the thread's last error.
HOST_EXPORT void Up_SetThreadLastError(U_Err error);
/// The thread's logging buffer; it holds U_LOGGING_BUFFER_SIZE bytes and lives as long as the thread.
HOST_EXPORT char* Up_GetThreadLoggingBuffer();
/// From here to the matching end, failures of host calls on this thread are kept from the user. Nests.
HOST_EXPORT void U_StartQuietErrorsOnCurrentThread();
/// Ends the innermost quiet scope. \return 0, or the code of a failure of ending itself.
HOST_EXPORT U_Err U_EndQuietErrorsOnCurrentThread();
/// @}

/// \name Texts
/// A keyed text is "$$$/path/of/the/key=Default text". The host returns its translation, or the default
/// when it has none. "#{rsquo}" in a text is markup for a right single quotation mark.
/// @{

/// A library's table of keyed texts, looked up by number.
struct U_ZStringTable {
  std::int32_t count;
  const char* const* keyed_texts;
};
/// Reference to a string table. The table must outlive the library's use of it.
using U_ZRef = const U_ZStringTable*;

/// Looks up text `number` (from 0) of a table.
/// \param reserved1, reserved2 0.
/// \return the text, owned by the host and valid until the host stops, or null when there is none.
HOST_EXPORT const char* U_ZLookupLStrCache(U_ZRef table, std::int32_t number, std::int32_t reserved1,
                                           std::int32_t reserved2);
/// Looks up one keyed text that stands in no table. Result as for U_ZLookupLStrCache.
HOST_EXPORT const char* U_ZLookup(const char* keyed_text);
/// Replaces every ^L1 of `text` by `first` and every ^L2 by `second` (null = leave as it is).
/// \param out receives at most `out_size` bytes, the ending zero included; longer results are cut at a
///   character's end.
HOST_EXPORT void U_SubString(const char* text, const char* first, const char* second, char* out,
                             std::uint64_t out_size);
/// @}

/// \name Machine
/// @{

/// Number of threads that the executor uses, at least 1.
HOST_EXPORT std::int32_t U_GetNumThreads();
/// Reverses the four bytes of a value.
HOST_EXPORT std::uint32_t U_LongSwap(std::uint32_t value);

/// What the CPU can do, as far as the host allows it to be used.
struct U_CPU_Data {
  std::int32_t processors;  ///< logical processors, at least 1
  std::uint32_t features;   ///< bits U_CPU_*
};
/// The machine's description; may be null, which means no vector feature.
HOST_EXPORT extern const U_CPU_Data* U_G_CPU_DataP;
/// @}

}  // extern "C"

enum : std::uint64_t { U_LOGGING_BUFFER_SIZE = 1024 };

/// Bits of U_CPU_Data::features. Each level includes those before it.
enum : std::uint32_t {
  U_CPU_VECTOR = 1u << 0,    ///< the vector feature: 128-bit vectors of integers, floats and doubles
  U_CPU_SSSE3 = 1u << 1,     ///< byte shuffles
  U_CPU_SSE4 = 1u << 2,      ///< SSE 4.1 and 4.2
  U_CPU_AVX2 = 1u << 3,      ///< 256-bit vectors
  U_CPU_AVX512 = 1u << 4,    ///< 512-bit vectors, foundation to VL
  U_CPU_AVX512_DL = 1u << 5  ///< 512-bit vectors with the byte permutes and bit algorithms
};

#endif
