/// \file
/// Linkage of the host contract.
///
/// Every function of `include/host` is provided by the host and called by the library. A host that is
/// an executable, a shared library or a set of objects linked beside a static `libPF` all serve.
#ifndef HOST_EXPORT_H
#define HOST_EXPORT_H

#if defined(_WIN32)
#if defined(HOST_BUILDING)
#define HOST_EXPORT __declspec(dllexport)
#elif defined(HOST_STATIC)
#define HOST_EXPORT
#else
#define HOST_EXPORT __declspec(dllimport)
#endif
#else
#define HOST_EXPORT __attribute__((visibility("default")))
#endif

#endif
