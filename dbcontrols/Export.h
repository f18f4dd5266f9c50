#pragma once

#include <QtCore/QtGlobal>

// A shared library like the data sets below it: the host may put the same controls into its own windows.
#if defined(DBCONTROLS_BUILD)
#define DBCONTROLS_EXPORT Q_DECL_EXPORT
#else
#define DBCONTROLS_EXPORT Q_DECL_IMPORT
#endif
