// Pictures as the status program draws them, shown as they are: the Shell only uploads them.

// Cairo's ARGB32 words, premultiplied, in this machine's byte order.
function cairoPixelFormat(env) {
    const littleEndian = new Uint8Array(new Uint32Array([1]).buffer)[0] === 1;
    return littleEndian ? env.Cogl.PixelFormat.BGRA_8888_PRE : env.Cogl.PixelFormat.ARGB_8888_PRE;
}

// Content for `pixels` (GLib.Bytes of width × height words), or null for a picture that does
// not match its size, which would otherwise read past the buffer.
function pictureContent(env, width, height, pixels) {
    const {St} = env;
    if (!pixels || width <= 0 || height <= 0 || pixels.get_size() !== width * height * 4)
        return null;
    const content = St.ImageContent.new_with_preferred_size(width, height);
    const args = [pixels, cairoPixelFormat(env), width, height, width * 4];
    // GNOME 48 made the Cogl context the first argument.
    if (env.shellMajor >= 48)
        content.set_bytes(global.stage.context.get_backend().get_cogl_context(), ...args);
    else
        content.set_bytes(...args);
    return content;
}

// How many pixels a point of the picture has: the status program sends the 2x picture when
// it drew one, so this is read from the height it came back with.
function pictureDensity(pixelHeight, pointHeight) {
    if (pointHeight <= 0)
        return 1;
    return Math.max(1, Math.round(pixelHeight / pointHeight));
}

// A theme colour's red, green, blue and alpha from 0 to 255, whether its type counts them so
// (Clutter.Color) or from 0 to 1 (a Cogl.Color of a later Shell may).
function colorChannels(color) {
    const channels = [color.red, color.green, color.blue, color.alpha];
    const factor = channels.every(value => value <= 1) ? 255 : 1;
    return channels.map(value => Math.max(0, Math.min(255, Math.round(value * factor))));
}

function hexColor(channels) {
    return `#${channels.map(value => value.toString(16).padStart(2, '0')).join('')}`;
}

// A light text colour means a dark bar.
function isDarkBehind([red, green, blue]) {
    return (0.2126 * red + 0.7152 * green + 0.0722 * blue) / 255 > 0.5;
}

// The panel's look for SetStyle, read from one of our buttons once it is styled: the height
// its picture may take (the bar less the button's borders and padding), the scale of the
// pixels under it, and its text colour. Null while the button has no style yet.
function panelStyleOf(env, button) {
    const {St, Main} = env;
    const node = button.peek_theme_node();
    if (!node)
        return null;
    const themeScale = St.ThemeContext.get_for_stage(global.stage).scale_factor;
    const insets = node.get_border_width(St.Side.TOP) + node.get_border_width(St.Side.BOTTOM) +
        node.get_padding(St.Side.TOP) + node.get_padding(St.Side.BOTTOM);
    const height = Math.floor((Main.panel.height - insets) / themeScale);
    if (height <= 0)
        return null;
    const channels = colorChannels(node.get_foreground_color());
    return {
        height,
        scale: themeScale * button.get_resource_scale(),
        foreground: hexColor(channels),
        dark: isDarkBehind(channels),
    };
}

function sameStyle(a, b) {
    return a !== null && b !== null && a.height === b.height && a.scale === b.scale &&
        a.foreground === b.foreground && a.dark === b.dark;
}
