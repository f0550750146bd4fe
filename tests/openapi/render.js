#!/usr/bin/env node
// render.js OPENAPI HTML: renders the page for people, as one file that needs nothing from elsewhere.
'use strict';

const fs = require('fs');
const path = require('path');
const { execFileSync } = require('child_process');

// Even a mistake below, or in the renderer, cannot make the page ask anybody for anything.
const policy = "default-src 'none'; script-src 'unsafe-inline'; style-src 'unsafe-inline'; img-src data:; worker-src blob:";

// The renderer's own, below its menu.
const logo = 'https://cdn.redoc.ly/redoc/logo-mini.svg';

/** Nothing of it may end the script element, nor be taken for a replacement pattern. */
function inline(file) {
  const code = fs.readFileSync(file, 'utf8').replace(/<\/script/g, '<\\/script').replace(/^\/\/# sourceMappingURL=.*$/m, '');
  return () => `<script>${code}</script>`;
}

const cli = path.join(path.dirname(require.resolve('@redocly/cli/package.json')), 'bin', 'cli.js');

function rendered(openapi, html) {
  const config = ['--config', path.join(__dirname, 'redocly.yaml')];
  execFileSync(process.execPath, [cli, 'build-docs', openapi, '--disableGoogleFont', ...config, '-o', html], {
    env: { ...process.env, REDOCLY_TELEMETRY: 'off', REDOCLY_SUPPRESS_UPDATE_NOTICE: 'true' },
    stdio: ['ignore', 'ignore', 'inherit'],
  });
  return fs.readFileSync(html, 'utf8');
}

/** The elements of the page that would be loaded from elsewhere. */
function loadedFromElsewhere(page) {
  const withoutCode = page.replace(/<script>[^]*?<\/script>/g, '');
  return withoutCode.match(/<(?:script|link|img|iframe|source|object)\b[^>]*?\b(?:src|href|data)="(?!data:)[^"]*"[^>]*>|url\((?!["']?data:)[^)]*\)/g) || [];
}

function render(openapi, html) {
  // The very one that the page was rendered with: another would not find its styles.
  const bundle = require.resolve('redoc/bundles/redoc.standalone.js', { paths: [cli] });
  const page = rendered(openapi, html)
    .replace(/<script src="[^"]*redoc\.standalone\.js"[^>]*><\/script>/, inline(bundle))
    .replaceAll(logo, 'data:,')
    .replace('<head>', `<head>\n  <meta http-equiv="Content-Security-Policy" content="${policy}">`);
  const left = loadedFromElsewhere(page);
  if (left.length) throw new Error(`The page would load ${left.join(' ')}`);
  // Without them a browser shows the menu's lens, a screen wide.
  if (!/<style data-styled="true"[^>]*>[^<]{10000}/.test(page)) throw new Error('The page has no styles');
  fs.writeFileSync(html, page);
}

module.exports = { loadedFromElsewhere, policy, render };

if (require.main === module) {
  const [openapi, html] = process.argv.slice(2);
  render(openapi, html);
  process.stdout.write(`${html}\n`);
}
