/**
 * @file
 * Limits whose violation is a programming error of the caller.
 */
#pragma once

namespace ovk {

/**
 * Ends the process with the text on standard error unless the condition holds; in every kind of
 * build.
 */
void assert_that(bool condition, const char* text);

}  // namespace ovk
