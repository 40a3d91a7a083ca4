// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <vector>

/// The median of the seconds that each of @p works takes, or returns, in @p runs runs. The runs of
/// all of them are mixed at random, so that a short load of the machine affects all of them alike.
std::vector<double> mediansOf(int runs, const std::vector<std::function<double()>> &works);
