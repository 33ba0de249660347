#include "least_squares.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>

namespace bench
{
namespace
{

using Matrix = std::vector<std::vector<double>>; // rows with the right side last

// By Gauss with pivots; nothing for a singular matrix.
std::optional<std::vector<double>> solved(Matrix matrix)
{
    const std::size_t size = matrix.size();
    for (std::size_t column = 0; column < size; ++column) {
        std::size_t pivot = column;
        for (std::size_t row = column + 1; row < size; ++row) {
            pivot = std::abs(matrix[row][column]) > std::abs(matrix[pivot][column]) ? row : pivot;
        }
        std::swap(matrix[column], matrix[pivot]);
        if (std::abs(matrix[column][column]) < 1e-12) {
            return std::nullopt;
        }
        for (std::size_t row = 0; row < size; ++row) {
            const double factor = row == column ? 0 : matrix[row][column] / matrix[column][column];
            for (std::size_t i = column; i <= size; ++i) {
                matrix[row][i] -= factor * matrix[column][i];
            }
        }
    }
    std::vector<double> solution;
    for (std::size_t row = 0; row < size; ++row) {
        solution.push_back(matrix[row][size] / matrix[row][row]);
    }
    return solution;
}

// Features are scaled to their largest value, so that the pivots can be compared with a constant.
std::vector<double> scales(const std::vector<Observation> &observations)
{
    std::vector<double> largest(observations.front().features.size(), 0);
    for (const Observation &observation : observations) {
        for (std::size_t i = 0; i < largest.size(); ++i) {
            largest[i] = std::fmax(largest[i], observation.features[i] / observation.value);
        }
    }
    return largest;
}

Matrix normalEquations(const std::vector<Observation> &observations,
                       const std::vector<double> &scale, const std::vector<std::size_t> &chosen)
{
    Matrix matrix(chosen.size(), std::vector<double>(chosen.size() + 1, 0));
    for (const Observation &observation : observations) {
        const auto feature = [&](std::size_t i) {
            return observation.features[chosen[i]] / observation.value / scale[chosen[i]];
        };
        for (std::size_t row = 0; row < chosen.size(); ++row) {
            for (std::size_t column = 0; column < chosen.size(); ++column) {
                matrix[row][column] += feature(row) * feature(column);
            }
            matrix[row].back() += feature(row);
        }
    }
    return matrix;
}

std::vector<std::size_t> chosenBy(unsigned mask, const std::vector<double> &scale)
{
    std::vector<std::size_t> chosen;
    for (std::size_t i = 0; i < scale.size(); ++i) {
        if ((mask >> i & 1U) != 0 && scale[i] > 0) {
            chosen.push_back(i);
        }
    }
    return chosen;
}

} // namespace

double squaredErrors(const std::vector<Observation> &observations,
                     const std::vector<double> &factors)
{
    double sum = 0;
    for (const Observation &observation : observations) {
        const double error = weightedSum(factors, observation.features) / observation.value - 1;
        sum += error * error;
    }
    return sum;
}

double weightedSum(const std::vector<double> &factors, const std::vector<double> &features)
{
    return std::inner_product(factors.begin(), factors.end(), features.begin(), 0.0);
}

// Tries every subset of the features: the best fit without negative factors is the free fit of one.
std::vector<double> nonNegativeFit(const std::vector<Observation> &observations)
{
    const std::vector<double> scale = scales(observations);
    std::vector<double> best(scale.size(), 0);
    double leastError = std::numeric_limits<double>::infinity();
    for (unsigned mask = 1; mask < 1U << scale.size(); ++mask) {
        const std::vector<std::size_t> chosen = chosenBy(mask, scale);
        const auto solution = solved(normalEquations(observations, scale, chosen));
        if (!solution) {
            continue;
        }
        std::vector<double> factors(scale.size(), 0);
        bool isAllowed = true;
        for (std::size_t i = 0; i < chosen.size(); ++i) {
            factors[chosen[i]] = (*solution)[i] / scale[chosen[i]];
            isAllowed = isAllowed && factors[chosen[i]] >= 0;
        }
        const double error = squaredErrors(observations, factors);
        if (isAllowed && error < leastError) {
            leastError = error;
            best = factors;
        }
    }
    return best;
}

} // namespace bench
