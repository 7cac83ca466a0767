/**
 * @file
 * Regions 22 and 23 by what stands in them, and the difference between two images.
 */
#pragma once

#include "ovkctl/frame/report.h"
#include "ovkctl/subjects/region_io.h"

#include <cstdint>
#include <span>

namespace ovkctl {

/** Adds what a region's image holds: its records where they are known, else the bytes. A file gets
    the bytes of either. */
void add_region_contents(Section& section, const RegionKind& region,
                         std::span<const std::uint8_t> image);

/** The default contents of region 22 or 23. */
Bytes default_region(const RegionKind& region);

/** Adds the places at which two images of one length differ; returns the number of bytes. */
std::size_t add_changes(Section& section, const Bytes& before, const Bytes& after);

}  // namespace ovkctl
