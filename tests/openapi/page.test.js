// stand/openapi.yaml as a text of its own: linted, and rendered for people.
'use strict';

const assert = require('node:assert/strict');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { after, describe, test } = require('node:test');
const { Contract } = require('./contract');
const { loadedFromElsewhere, policy, render } = require('./render');

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

  test('is rendered for people, with every operation and nothing loaded from elsewhere', () => {
    const file = path.join(folder, 'service.html');
    render(page, file);
    const html = fs.readFileSync(file, 'utf8');
    assert.ok(html.includes(policy));
    assert.deepEqual(loadedFromElsewhere(html), []);
    assert.match(html, /Redoc\.hydrate\(/);
    const contract = Contract.read(page);
    for (const operation of contract.operations()) {
      const [method, template] = operation.split(' ');
      const { summary } = contract.document.paths[template][method.toLowerCase()];
      const words = summary.replace(/'/g, '&#x27;');
      assert.ok(html.replace(/<script>[^]*?<\/script>/g, '').includes(words), `${operation}: ${words}`);
    }
  });

  test('would be caught loading something from elsewhere', () => {
    for (const element of ['<script src="https://example.org/a.js"></script>', '<img alt="" src="https://example.org/a.svg">',
      '<link href="https://example.org/a.css" rel="stylesheet">', '<style>a{background:url(https://example.org/a.png)}</style>']) {
      assert.equal(loadedFromElsewhere(`<p>${element}</p>`).length, 1, element);
    }
    assert.deepEqual(loadedFromElsewhere('<a href="https://example.org/">more</a><img src="data:,">'), []);
  });
});
