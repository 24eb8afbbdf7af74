#pragma once

#include "NivexKit/Execution/ConversionJob.hpp"

#include <exception>

namespace nivex {

/// What is told of a failed run. A ConversionError speaks for itself; what else a library or the system threw is put
/// into a sentence of ours, as its own words are English and meant for developers: they are the cause.
ConversionJob::Failed failureOf(const std::exception_ptr& failure);

} // namespace nivex
