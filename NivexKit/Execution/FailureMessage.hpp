#pragma once

#include <exception>
#include <string>

namespace nivex {

/// What the user reads about a failed run. A ConversionError speaks for itself; what else a library or the system threw
/// is put into a sentence of ours, as its own words are English and meant for developers.
std::string failureMessage(const std::exception_ptr& failure);

} // namespace nivex
