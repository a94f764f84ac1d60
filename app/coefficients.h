#pragma once

/// The coefficients in the order of their numbers: 0 contrast, 1 brightness, 2 mode setting, 3
/// zoom.
constexpr int coefficientCount = 4;

/// The value one step above or below \a value, within the coefficient's limits; 0 for any other
/// number.
int steppedCoefficient(int number, int value, bool up);

/// The value at the start and after a reset; 0 for any other number.
int resetCoefficient(int number);

/// The least and the greatest value that steps lead to; 0 for any other number.
int lowestCoefficient(int number);
int highestCoefficient(int number);
