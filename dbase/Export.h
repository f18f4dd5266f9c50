#pragma once

// The table files are a shared library: the host and the module it loads must see one copy of it.
#if defined(_WIN32) && defined(__GNUC__)
#if defined(DBASE_BUILD)
#define DBASE_EXPORT [[gnu::dllexport]]
#elif defined(DBASE_STATIC)
#define DBASE_EXPORT
#else
#define DBASE_EXPORT [[gnu::dllimport]]
#endif
#elif defined(_WIN32)
#if defined(DBASE_BUILD)
#define DBASE_EXPORT __declspec(dllexport)
#elif defined(DBASE_STATIC)
#define DBASE_EXPORT
#else
#define DBASE_EXPORT __declspec(dllimport)
#endif
#else
#define DBASE_EXPORT [[gnu::visibility("default")]]
#endif
