#pragma once

// An include that runs upwards and one of the system, for the tests that must find them.
#include "dataset/DataSet.h"
#include <fcntl.h>
