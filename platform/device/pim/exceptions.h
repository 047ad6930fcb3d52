// The exceptions of a series as a collection.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/api/pimstore.h"
#include "platform/device/pim/object.h"
#include "platform/device/pim/series.h"

namespace device {

// The exceptions of the series with an object id and a start, whose time of day its occurrences have.
HRESULT NewExceptions(const PimSession& session, int32_t series, DATE start,
                      std::vector<SeriesException> exceptions, IExceptions** result);

}  // namespace device
