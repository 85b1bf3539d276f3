// Everything a unit test of the converter's PCL side usually needs: the
// test framework, the shared helpers and the headers of the modules whose
// process-wide state the tests set up and inspect.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/command_table.h"
#include "pcl/cursor.h"
#include "pcl/environment.h"
#include "pcl/escape_parser.h"
#include "pcl/fonts.h"
#include "pcl/input.h"
#include "pcl/macros.h"
#include "pcl/text_loop.h"
#include "reset.h"
#include "run_mode.h"
#include "symbol_sets.h"
#include "test_support.h"
