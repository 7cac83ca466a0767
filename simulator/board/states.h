/**
 * @file
 * State of the subsystems, each in a class of its own.
 */
#pragma once

#include <map>
#include <memory>
#include <typeindex>

namespace ravnsim {

/**
 * One object of each class that was asked for. It is made from its owner when it is first asked
 * for, so a subsystem's state needs no entry anywhere but where it is used.
 */
class States {
 public:
  /** The state of class `State`, which is constructed as `State{owner}`. */
  template <typename State, typename Owner>
  State& of(Owner& owner) {
    std::unique_ptr<Base>& slot = states_[std::type_index{typeid(State)}];
    if (slot == nullptr) {
      slot = std::make_unique<Holder<State>>(owner);
    }
    return static_cast<Holder<State>&>(*slot).state;
  }

 private:
  struct Base {
    virtual ~Base() = default;
  };

  template <typename State>
  struct Holder final : Base {
    template <typename Owner>
    explicit Holder(Owner& owner) : state{owner} {}
    State state;
  };

  std::map<std::type_index, std::unique_ptr<Base>> states_;
};

}  // namespace ravnsim
