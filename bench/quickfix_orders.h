#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

/// The fields of one order by name, as texts.
using OrderTexts = std::vector<std::pair<std::string, std::string>>;

/// Creates a NewOrderSingle with these fields for every order and serialises it, with the library
/// that the machine's package manager provides. Returns the bytes of all texts.
std::size_t serialiseWithQuickFix(const std::vector<OrderTexts>& orders);
