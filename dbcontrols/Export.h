#pragma once

// A shared library like the data sets below it: the host may put the same controls into its own windows.
#if defined(_WIN32) && defined(__GNUC__)
#if defined(DBCONTROLS_BUILD)
#define DBCONTROLS_EXPORT [[gnu::dllexport]]
#else
#define DBCONTROLS_EXPORT [[gnu::dllimport]]
#endif
#elif defined(_WIN32)
#if defined(DBCONTROLS_BUILD)
#define DBCONTROLS_EXPORT __declspec(dllexport)
#else
#define DBCONTROLS_EXPORT __declspec(dllimport)
#endif
#else
#define DBCONTROLS_EXPORT [[gnu::visibility("default")]]
#endif
