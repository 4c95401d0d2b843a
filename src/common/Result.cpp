#include "common/Result.h"

#include <cerrno>
#include <cstring>

namespace velmora {

Status Status::fromErrno(int err, const std::string& context) {
    std::string text = context.empty() ? std::string(std::strerror(err))
                                       : context + ": " + std::strerror(err);
    switch (err) {
    case 0: return {};
    case ENOENT:
    case ENOTDIR: return notFound(std::move(text));
    case EACCES:
    case EPERM:
    case EROFS: return permissionDenied(std::move(text));
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return {Code::noSpace, std::move(text)};
    case EINVAL:
    case ENAMETOOLONG: return invalidArgument(std::move(text));
    case EBUSY:
    case EAGAIN: return busy(std::move(text));
    case ECANCELED:
    case EINTR: return cancelled(std::move(text));
    case ENOTSUP: return unsupported(std::move(text));
    default: return ioError(std::move(text));
    }
}

}  // namespace velmora
