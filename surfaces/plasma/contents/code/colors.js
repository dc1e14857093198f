// SPDX-License-Identifier: Apache-2.0

.pragma library

/// From 1, which is none, to 21 (WCAG 2.2, contrast ratio).
function contrast(one, other) {
    const lights = [light(one), light(other)].sort((a, b) => a - b)
    return (lights[1] + 0.05) / (lights[0] + 0.05)
}

function light(color) {
    const linear = part => part <= 0.04045 ? part / 12.92 : Math.pow((part + 0.055) / 1.055, 2.4)
    return 0.2126 * linear(color.r) + 0.7152 * linear(color.g) + 0.0722 * linear(color.b)
}
