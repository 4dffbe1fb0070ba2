// Comparison of JSON values by meaning rather than by text: numbers by their
// mathematical value (1 equals 1.0), objects regardless of member order.
#pragma once

#include <cstddef>

#include "core/Json.h"

namespace CorvConfigStore {

// A number without fraction: written as an integer, or a double whose
// fractional part is zero (1.0 is an integer).
bool IsJsonInteger(const JsonValue& value);

// Negative, zero or positive as number a is below, equal to or above number
// b. Integers compare exactly, whatever their width.
int CompareJsonNumbers(const JsonValue& a, const JsonValue& b);

// Deep equality: same type (any two numbers are one type), equal numbers,
// equal strings, arrays equal element by element in order, objects with the
// same member names holding equal values in any order.
bool JsonEqual(const JsonValue& a, const JsonValue& b);

// A hash consistent with JsonEqual: equal values hash alike.
size_t JsonHash(const JsonValue& value);

}  // namespace CorvConfigStore
