/**
 * @file
 * The columns of a table: a column's header stands together with how its cell comes from a row.
 *
 *     constexpr Column<Node> node_columns[] = {
 *         {"handle", "HANDLE", field<&Node::handle>},
 *         {"state", "STATE", field<state_text>},
 *         {"target", "TARGET", [](const Node& node) { return Hex{node.target, 4}; }},
 *     };
 */
#pragma once

#include "ovkctl/frame/cell.h"

#include <cstdint>
#include <functional>
#include <iterator>
#include <type_traits>
#include <vector>

namespace ovkctl {

/** A column of a table whose rows are made from `Row`s. */
template <typename Row>
struct Column {
  /** @param make_cell  a lambda without captures, or field<&Row::member> */
  template <typename MakeCell>
  constexpr Column(const char* column_key, const char* column_header, MakeCell /*make_cell*/)
      : key{column_key}, header{column_header}, cell{[](const Row& row) -> Cell {
          return MakeCell{}(row);
        }} {}

  const char* key;     ///< the member in JSON, in snake_case
  const char* header;  ///< in the text; a column without a header stands in JSON only
  Cell (*cell)(const Row& row);
};

/** A member of a row as it stands, or what a function makes of the row. */
template <auto member_or_function>
inline constexpr auto field = [](const auto& row) { return std::invoke(member_or_function, row); };

/** As `field`, shown as a type of cell.h: as<Hex, &Node::target, 4>. */
template <typename Shown, auto member_or_function, auto... more>
inline constexpr auto as = [](const auto& row) {
  return Shown{std::invoke(member_or_function, row), more...};
};

/** A row with its number, for tables whose first column counts from 0. */
template <typename Row>
struct Numbered {
  std::uint32_t number;
  Row row;
};

template <typename Rows>
auto numbered(const Rows& rows) {
  using Row = std::remove_cvref_t<decltype(*std::begin(rows))>;
  std::vector<Numbered<Row>> all;
  for (const Row& row : rows) {
    all.push_back({static_cast<std::uint32_t>(all.size()), row});
  }
  return all;
}

/** The number of a numbered row, and a member of the row itself or what a function makes of it. */
inline constexpr auto number_of = [](const auto& numbered) { return numbered.number; };
template <auto member_or_function>
inline constexpr auto of_row =
    [](const auto& numbered) { return std::invoke(member_or_function, numbered.row); };

}  // namespace ovkctl
