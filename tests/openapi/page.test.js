// stand/openapi.yaml as a text of its own: linted.
'use strict';

const assert = require('node:assert/strict');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { after, describe, test } = require('node:test');

const page = process.env.KYR_OPENAPI;
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kyr-openapi-'));
after(() => fs.rmSync(folder, { recursive: true, force: true }));

/** What the linter says of the file, and whether it is content. */
function lint(file) {
  const cli = path.join(path.dirname(require.resolve('@redocly/cli/package.json')), 'bin', 'cli.js');
  const { status, stdout, stderr } = spawnSync(process.execPath,
    [cli, 'lint', '--config', path.join(__dirname, 'redocly.yaml'), file],
    { encoding: 'utf8', env: { ...process.env, REDOCLY_TELEMETRY: 'off', REDOCLY_SUPPRESS_UPDATE_NOTICE: 'true' } });
  return { isClean: status === 0, text: stdout + stderr };
}

/** The page with `part` replaced, as a file. */
function changed(name, part, by) {
  const text = fs.readFileSync(page, 'utf8');
  assert.ok(text.includes(part), part);
  const file = path.join(folder, name);
  fs.writeFileSync(file, text.replace(part, by));
  return file;
}

describe('The page', () => {
  test('is clean', () => {
    const { isClean, text } = lint(page);
    assert.ok(isClean, text);
  });

  test('is not clean with an example of the wrong form', () => {
    const { isClean, text } = lint(changed('example.yaml', 'max_payment_bonus: 150', "max_payment_bonus: '150'"));
    assert.ok(!isClean);
    assert.match(text, /must be number/);
  });

  test('is not clean with a schema that nobody uses', () => {
    const { isClean, text } = lint(changed('unused.yaml', '  schemas:\n', '  schemas:\n    Unused: { type: string }\n'));
    assert.ok(!isClean);
    assert.match(text, /no-unused-components/);
  });
});
