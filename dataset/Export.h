#pragma once

// The data sets are a shared library: the host hands open tables to the module it loads.
#if defined(_WIN32) && defined(__GNUC__)
#if defined(DATASET_BUILD)
#define DATASET_EXPORT [[gnu::dllexport]]
#else
#define DATASET_EXPORT [[gnu::dllimport]]
#endif
#elif defined(_WIN32)
#if defined(DATASET_BUILD)
#define DATASET_EXPORT __declspec(dllexport)
#else
#define DATASET_EXPORT __declspec(dllimport)
#endif
#else
#define DATASET_EXPORT [[gnu::visibility("default")]]
#endif
