#include "platform/MountMonitor.h"

#include <libmount/libmount.h>
#include <unistd.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

#include "common/Logger.h"
#include "common/MainQueue.h"

namespace velmora {

struct MountMonitor::State : std::enable_shared_from_this<MountMonitor::State> {
  struct MonitorDeleter {
    void operator()(libmnt_monitor* monitor) const { mnt_unref_monitor(monitor); }
  };
  std::unique_ptr<libmnt_monitor, MonitorDeleter> monitor;
  std::unique_ptr<boost::asio::posix::stream_descriptor> descriptor;
  Handler onChange;

  void arm() {
    std::weak_ptr<State> weak = shared_from_this();
    descriptor->async_wait(boost::asio::posix::stream_descriptor::wait_read,
                           [weak](const boost::system::error_code& error) {
                             auto self = weak.lock();
                             if (!self || error) return;
                             self->drain();
                             self->arm();
                           });
  }

  void drain() {
    bool changed = false;
    const char* file = nullptr;
    int type = 0;
    while (mnt_monitor_next_change(monitor.get(), &file, &type) == 0) changed = true;
    if (changed && onChange) onChange();
  }
};

MountMonitor::MountMonitor(Handler onChange) : state_(std::make_shared<State>()) {
  state_->onChange = std::move(onChange);
  state_->monitor.reset(mnt_new_monitor());
  if (!state_->monitor || mnt_monitor_enable_kernel(state_->monitor.get(), 1) != 0) {
    VLOG("mount monitor unavailable");
    state_->monitor.reset();
    return;
  }
  int fd = mnt_monitor_get_fd(state_->monitor.get());
  int own = fd >= 0 ? ::dup(fd) : -1;
  if (own < 0) {
    VLOG("mount monitor has no descriptor");
    state_->monitor.reset();
    return;
  }
  auto* context = static_cast<boost::asio::io_context*>(MainQueue::ioContext());
  state_->descriptor = std::make_unique<boost::asio::posix::stream_descriptor>(*context, own);
  state_->arm();
}

MountMonitor::~MountMonitor() {
  if (state_->descriptor) {
    boost::system::error_code ignored;
    state_->descriptor->cancel(ignored);
    state_->descriptor->close(ignored);
  }
}

bool MountMonitor::isWatching() const { return state_->descriptor != nullptr; }

}  // namespace velmora
