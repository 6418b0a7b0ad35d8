// The tests' data tables are read by support/data_table.h.
#pragma once

#include "support/data_table.h"
