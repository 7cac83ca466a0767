/**
 * @file
 * The columns of a table: a column's header stands together with how its cell comes from a row.
 *
 *     constexpr Column<Node> node_columns[] = {
 *         {"index", "INDEX", row_number},
 *         {"handle", "HANDLE", field<&Node::handle>},
 *         {"state", "STATE", field<state_text>},
 *         {"type", "TYPE", field<&Node::port, &Port::type, type_text>},
 *         {"target", "TARGET", as<Hex, &Node::target, 4>},
 *     };
 */
#pragma once

#include "ovkctl/frame/cell.h"

#include <concepts>
#include <cstdint>
#include <functional>
#include <span>
#include <type_traits>

namespace ovkctl {

/** What stands above a column. */
struct ColumnHead {
  const char* key;     ///< the member in JSON, in snake_case
  const char* header;  ///< in the text; a column without a header stands in JSON only
};

/** A column of a table whose rows are made from `Row`s. */
template <typename Row>
struct Column : ColumnHead {
  /** @param make_cell  a lambda without captures, `field`, `as` or `row_number` */
  template <typename MakeCell>
  constexpr Column(const char* column_key, const char* column_header, MakeCell /*make_cell*/)
      : ColumnHead{column_key, column_header}, cell{[](const Row& row, std::uint32_t number) {
          if constexpr (std::invocable<MakeCell, const Row&>) {
            return Cell{MakeCell{}(row)};
          } else {
            return Cell{MakeCell{}(row, number)};
          }
        }} {}

  Cell (*cell)(const Row& row, std::uint32_t number);
};

/** The number of a row, from 0 on. */
inline constexpr auto row_number = [](const auto& /*row*/, std::uint32_t number) { return number; };

/** A member of a row, or what a function makes of the row. */
template <auto step, typename Row>
constexpr decltype(auto) get(const Row& row) {
  if constexpr (std::is_array_v<Row>) {
    return step(std::span{row});  // the function would get a pointer
  } else {
    return std::invoke(step, row);
  }
}

/** A member of a row as it stands, or what a function makes of the row; then a member of that, and
    so on. A member that may lack a value and does makes an empty cell. */
template <auto step, auto... more>
inline constexpr auto field = [](const auto& row) -> Cell {
  const auto& value = get<step>(row);
  if constexpr (sizeof...(more) == 0) {
    return value;
  } else if constexpr (requires { value.has_value(); }) {
    return value ? field<more...>(*value) : Cell{};
  } else {
    return field<more...>(value);
  }
};

/** As `field` of one step, shown as a type of cell.h. */
template <typename Shown, auto step, auto... more>
inline constexpr auto as = [](const auto& row) {
  return Shown{get<step>(row), more...};
};

}  // namespace ovkctl
