#pragma once

// The fixed words for the two states of an order. Pure functions, safe from any thread.

#include <string>

#include "VelaApi/Sources/VelaApi/OrderDeliveryStatus.hpp"
#include "VelaApi/Sources/VelaApi/OrderDisplayStatus.hpp"

namespace presentation {

std::string displayWording(VelaApi::OrderDisplayStatus status);
std::string deliveryWording(VelaApi::OrderDeliveryStatus status);

}  // namespace presentation
