#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace com::tallowmere::connectivity::plugins {

class Handler;
struct HandlerServices;
class RequestSender;

/// Handlers by the event type that they serve; looked up byte by byte, also by a view.
using HandlerTable = std::map<std::string, std::unique_ptr<Handler>, std::less<>>;

/// Makes the handlers and puts them into `handlers`, one by one. All referred objects must outlive them.
void fillHandlerTable(HandlerTable& handlers, const HandlerServices& services, RequestSender& sender);

}  // namespace com::tallowmere::connectivity::plugins
