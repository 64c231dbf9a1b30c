// SPDX-License-Identifier: MIT
#pragma once

#include <QVector>

#include <algorithm>

// The value below which the given share, of [0, 1], of a non-empty set of values lies.
inline double quantile(QVector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    return values.at(qMin(values.size() - 1, static_cast<int>(share * values.size())));
}
