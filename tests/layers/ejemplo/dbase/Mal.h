#pragma once

// An include that runs upwards, for the test that must find it.
#include "dataset/DataSet.h"
