#pragma once

#include <vector>

namespace bench
{

// One measurement: the value, and what it may depend on.
struct Observation {
    std::vector<double> features;
    double value = 0; // above 0
};

// The factors, none below 0, whose weighted sums of the features come nearest to the values;
// relative errors count. All observations have the same features, at most a dozen.
std::vector<double> nonNegativeFit(const std::vector<Observation> &observations);

// Sum of the squares of the relative errors.
double squaredErrors(const std::vector<Observation> &observations,
                     const std::vector<double> &factors);

double weightedSum(const std::vector<double> &factors, const std::vector<double> &features);

} // namespace bench
