// The X-Resource extension: whether it can name a window's client process, and the answer.
#include "platform/x11/x11replies.h"

namespace orvella::platform::x11 {

bool supportsClientIds(xcb_connection_t *connection)
{
    const xcb_query_extension_reply_t *ext = xcb_get_extension_data(connection, &xcb_res_id);
    if (!ext || !ext->present)
        return false;
    ReplyCollector replies(connection);
    const auto version = replies.take(xcb_res_query_version_reply, xcb_res_query_version(connection, 1, 2));
    return version
           && (version->server_major > 1 || (version->server_major == 1 && version->server_minor >= 2));
}

std::optional<std::uint32_t> pidFromClientIds(const xcb_res_query_client_ids_reply_t *reply)
{
    for (auto it = xcb_res_query_client_ids_ids_iterator(reply); it.rem > 0;
         xcb_res_client_id_value_next(&it)) {
        if ((it.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) == 0
            || xcb_res_client_id_value_value_length(it.data) < 1)
            continue;
        const std::uint32_t pid = *xcb_res_client_id_value_value(it.data);
        if (pid > 0 && pid <= kMaxPid)
            return pid;
    }
    return std::nullopt;
}

} // namespace orvella::platform::x11
