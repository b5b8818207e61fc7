/// \file
/// Linkage of the library's exports.
///
/// Define PF_STATIC when linking the static library. Plain functions have C linkage and unmangled
/// names; classes and templates have C++ linkage.
#ifndef PF_EXPORT_H
#define PF_EXPORT_H

#if defined(_WIN32)
#if defined(PF_BUILDING)
#define PF_EXPORT __declspec(dllexport)
#elif defined(PF_STATIC)
#define PF_EXPORT
#else
#define PF_EXPORT __declspec(dllimport)
#endif
#else
#define PF_EXPORT __attribute__((visibility("default")))
#endif

/// On records that exported templates are instantiated with: a template is as visible as its arguments.
#if defined(_WIN32)
#define PF_EXPORT_TYPE
#else
#define PF_EXPORT_TYPE PF_EXPORT
#endif

#endif
