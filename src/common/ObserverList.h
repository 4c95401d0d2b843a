#pragma once
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace velmora {

// The observers of one kind of change. Any thread may add, remove and
// notify; observers are called outside the list's lock, so an observer may
// remove itself (or others) while being called.
template <typename... Args>
class ObserverList {
 public:
  using Observer = std::function<void(Args...)>;

  // Removes its observer when it goes; also after the list itself has gone.
  class [[nodiscard]] Token {
   public:
    Token() = default;
    Token(Token&& other) noexcept : state_(std::move(other.state_)), id_(std::exchange(other.id_, 0)) {}
    Token& operator=(Token&& other) noexcept {
      if (this != &other) {
        reset();
        state_ = std::move(other.state_);
        id_ = std::exchange(other.id_, 0);
      }
      return *this;
    }
    Token(const Token&) = delete;
    Token& operator=(const Token&) = delete;
    ~Token() { reset(); }

    void reset() {
      if (auto state = state_.lock()) state->remove(id_);
      state_.reset();
      id_ = 0;
    }
    int id() const { return id_; }

   private:
    friend class ObserverList;
    struct State;
    Token(std::weak_ptr<typename ObserverList::State> state, int id) : state_(std::move(state)), id_(id) {}
    std::weak_ptr<typename ObserverList::State> state_;
    int id_ = 0;
  };

  Token observe(Observer observer) { return Token(state_, add(std::move(observer))); }
  // For owners that keep a plain number and remove it themselves.
  int add(Observer observer) { return state_->add(std::move(observer)); }
  void remove(int id) { state_->remove(id); }

  // The observers as they are now, in the order they were added.
  std::vector<Observer> snapshot() const {
    std::lock_guard guard(state_->mutex);
    std::vector<Observer> calls;
    calls.reserve(state_->observers.size());
    for (const auto& [id, observer] : state_->observers) calls.push_back(observer);
    return calls;
  }
  void notify(Args... args) const {
    for (auto& observer : snapshot()) observer(args...);
  }
  bool empty() const {
    std::lock_guard guard(state_->mutex);
    return state_->observers.empty();
  }

 private:
  struct State {
    std::mutex mutex;
    std::map<int, Observer> observers;
    int next = 1;
    int add(Observer observer) {
      std::lock_guard guard(mutex);
      int id = next++;
      observers.emplace(id, std::move(observer));
      return id;
    }
    void remove(int id) {
      std::lock_guard guard(mutex);
      observers.erase(id);
    }
  };
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace velmora
