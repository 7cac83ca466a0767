/**
 * @file
 * The ports that a board discovered.
 */
#pragma once

#include "simulator/board/adapter.h"

#include <cstdint>
#include <vector>

namespace ravnsim {

/**
 * The discovered ports in the order of their discovery, which is what their indices mean. The tag
 * names the list as it is: it changes with the list and is never 0, so that whoever has another one
 * has indices that mean nothing any more.
 */
class PortList {
 public:
  /** The ports of the topology. */
  explicit PortList(Adapter& adapter) : ports_{adapter.topology().discovered_ports} {}

  [[nodiscard]] const std::vector<PortTopology>& ports() const {
    return reachable_ ? ports_ : none_;
  }

  /** The tag of the list as it is. */
  [[nodiscard]] std::uint32_t tag() const { return tag_; }

  /** The port with that name, or null. */
  [[nodiscard]] const PortTopology* find(const Wwn& port_wwn) const;

  /** A port comes, or comes back with other attributes. */
  void add(const PortTopology& port);

  /** A port goes, if it is there. */
  void remove(const Wwn& port_wwn);

  /** All ports go with the link, and those that are there by then come back with it. */
  void set_reachable(bool reachable);

 private:
  void change_tag();

  std::vector<PortTopology> ports_;
  const std::vector<PortTopology> none_;
  bool reachable_ = true;
  std::uint32_t tag_ = 1;
};

}  // namespace ravnsim
