// Checks both assembled builds of the extension without a Shell: each file compiles, each
// build uses only its own module system (a mix fails only once the Shell loads it), the
// metadata is readable and names the versions each build is for, and the few helpers the
// buttons compute with give the values the panel needs.
// gjs -m lint.js <legacy build dir> <esm build dir>

import GLib from 'gi://GLib';
import System from 'system';

const [legacyDir, esmDir] = ARGV;
const failures = [];
const fail = message => failures.push(message);

function read(dir, name) {
    const [, bytes] = GLib.file_get_contents(`${dir}/${name}`);
    return new TextDecoder().decode(bytes);
}

// An ES module's statements that a plain function body cannot hold become blank lines, so
// the compiler's line numbers still point into the file.
function asFunctionBody(text) {
    return text.split('\n').map(line => {
        if (/^import\s.*\sfrom\s'[^']+';$/.test(line) || /^export\s*\{[^}]*\};$/.test(line))
            return '';
        return line.replace(/^export (default )?/, '');
    }).join('\n');
}

function compile(dir, name, isModule) {
    const text = read(dir, name);
    try {
        // Only compiled, never run: the Shell's own modules are not here.
        // eslint-disable-next-line no-new-func
        new Function(isModule ? `'use strict';\n${asFunctionBody(text)}` : text);
    } catch (error) {
        fail(`${dir}/${name}: ${error.name}: ${error.message} (line ${error.lineNumber})`);
    }
    return text;
}

function checkBuild(dir, isModule, versions) {
    for (const name of ['extension.js', 'corvanebar.js']) {
        const text = compile(dir, name, isModule);
        if (isModule && /^\s*(const|let|var)\s.*=\s*imports\./m.test(text))
            fail(`${dir}/${name}: the ES module build uses legacy imports`);
        if (!isModule && /^(import|export)\s/m.test(text))
            fail(`${dir}/${name}: the legacy build has import or export statements`);
    }
    let metadata = {};
    try {
        metadata = JSON.parse(read(dir, 'metadata.json'));
    } catch (error) {
        fail(`${dir}/metadata.json: ${error.message}`);
    }
    if (!dir.endsWith(`/${metadata.uuid}`))
        fail(`${dir}: metadata.json names the uuid "${metadata.uuid}"`);
    if (JSON.stringify(metadata['shell-version']) !== JSON.stringify(versions))
        fail(`${dir}: shell-version ${JSON.stringify(metadata['shell-version'])}, expected ${JSON.stringify(versions)}`);
    return read(dir, 'corvanebar.js');
}

// The shared helpers, taken out of the legacy build, which is a plain script.
function helpers(text) {
    // eslint-disable-next-line no-new-func
    return new Function(`${text}\nreturn {splitValueText, colorChannels, isDarkBehind, pictureDensity};`)();
}

function expectEqual(what, actual, expected) {
    if (JSON.stringify(actual) !== JSON.stringify(expected))
        fail(`${what}: ${JSON.stringify(actual)}, expected ${JSON.stringify(expected)}`);
}

const legacy = checkBuild(legacyDir, false, ['43', '44']);
checkBuild(esmDir, true, ['45', '46', '47', '48', '49']);

if (failures.length === 0) {
    const h = helpers(legacy);
    const rows = [
        ['User: 12%', ['User', '12%']],
        ['Uptime: 3 days, 2:04', ['Uptime', '3 days, 2:04']],
        ['my: tool: 1.5%', ['my: tool', '1.5%']],
        ['Top Processes', ['Top Processes', '']],
        [': 5%', [': 5%', '']],
    ];
    for (const [text, expected] of rows)
        expectEqual(`splitValueText("${text}")`, h.splitValueText(text), expected);
    const colors = [
        [{red: 242, green: 242, blue: 242, alpha: 255}, [242, 242, 242, 255], true],
        [{red: 0.1, green: 0.1, blue: 0.1, alpha: 1}, [26, 26, 26, 255], false],
        [{red: 46, green: 52, blue: 54, alpha: 255}, [46, 52, 54, 255], false],
    ];
    for (const [color, channels, dark] of colors) {
        expectEqual(`colorChannels(${JSON.stringify(color)})`, h.colorChannels(color), channels);
        expectEqual(`isDarkBehind(${channels})`, h.isDarkBehind(channels), dark);
    }
    for (const [pixels, points, density] of [[26, 26, 1], [52, 26, 2], [22, 26, 1], [44, 0, 1]])
        expectEqual(`pictureDensity(${pixels}, ${points})`, h.pictureDensity(pixels, points), density);
}

for (const failure of failures)
    printerr(failure);
System.exit(failures.length ? 1 : 0);
