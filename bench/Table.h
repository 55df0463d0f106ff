#pragma once

#include "Rows.h"

/// Times all rows, ours and the rival's in turn, `rounds` times, and prints the medians as one table.
void TimeAndPrint(const std::vector<Row>& rows, int rounds);
