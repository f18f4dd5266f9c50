#pragma once

// A shared library like the data sets: layouts made by the module are run by the viewer of the host.
#if defined(_WIN32) && defined(__GNUC__)
#if defined(REPORT_BUILD)
#define REPORT_EXPORT [[gnu::dllexport]]
#else
#define REPORT_EXPORT [[gnu::dllimport]]
#endif
#elif defined(_WIN32)
#if defined(REPORT_BUILD)
#define REPORT_EXPORT __declspec(dllexport)
#else
#define REPORT_EXPORT __declspec(dllimport)
#endif
#else
#define REPORT_EXPORT [[gnu::visibility("default")]]
#endif
