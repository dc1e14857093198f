// SPDX-License-Identifier: Apache-2.0

#include <boost/json/src.hpp>
