// The X-Resource extension: whether it can name a window's client process, and the answer.
#include "platform/x11/x11replies.h"

namespace orvella::platform::x11 {

DisplayConnection connectToDisplay(const QString &display, QString *error)
{
    DisplayConnection out;
    const QByteArray name = display.toLocal8Bit();
    out.connection = xcb_connect(name.isEmpty() ? nullptr : name.constData(), &out.screenNumber);
    if (xcb_connection_has_error(out.connection)) {
        if (error)
            *error = QStringLiteral("cannot connect to X display \"%1\"")
                         .arg(display.isEmpty() ? qEnvironmentVariable("DISPLAY") : display);
        return out;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(out.connection));
    for (int i = 0; i < out.screenNumber && it.rem; ++i)
        xcb_screen_next(&it);
    out.screen = it.rem ? it.data : nullptr;
    if (!out.screen && error)
        *error = QStringLiteral("the X server did not answer the first requests");
    return out;
}

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

QList<xcb_keycode_t> keycodesFor(xcb_connection_t *connection, std::uint32_t keysym)
{
    const xcb_setup_t *setup = xcb_get_setup(connection);
    const int count = setup->max_keycode - setup->min_keycode + 1;
    ReplyCollector replies(connection);
    const auto map =
        replies.take(xcb_get_keyboard_mapping_reply,
                     xcb_get_keyboard_mapping(connection, setup->min_keycode, std::uint8_t(count)));
    QList<xcb_keycode_t> out;
    if (!map || map->keysyms_per_keycode == 0)
        return out;
    const xcb_keysym_t *syms = xcb_get_keyboard_mapping_keysyms(map.get());
    const int length = xcb_get_keyboard_mapping_keysyms_length(map.get());
    // Only the unshifted column: typing the key must give this keysym without Shift.
    for (int i = 0; i < length; i += map->keysyms_per_keycode) {
        if (syms[i] == keysym)
            out.append(xcb_keycode_t(setup->min_keycode + i / map->keysyms_per_keycode));
    }
    return out;
}

} // namespace orvella::platform::x11
