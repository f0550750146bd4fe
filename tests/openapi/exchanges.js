// Real exchanges between the till and the stand, and with a client that makes mistakes on purpose. All pass through
// proxy.js, which notes them. The programs are named by the environment: KYR_TILL, KYR_STAND, KYR_SCENARIOS.
'use strict';

const assert = require('node:assert/strict');
const fs = require('fs');
const http = require('http');
const os = require('os');
const path = require('path');
const { spawn } = require('child_process');

const proxy = path.join(__dirname, 'proxy.js');
const login = `Basic ${Buffer.from('shop:secret-of-the-shop').toString('base64')}`;

/** Calls `use` with a folder of its own, which is gone afterwards. */
async function withFolder(use) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kyr-openapi-'));
  try {
    return await use(folder);
  } finally {
    fs.rmSync(folder, { recursive: true, force: true });
  }
}

function noted(file) {
  if (!fs.existsSync(file)) return [];
  return fs.readFileSync(file, 'utf8').split('\n').filter(Boolean).map((line) => JSON.parse(line));
}

function scenarios() {
  const folder = process.env.KYR_SCENARIOS;
  return fs.readdirSync(folder).filter((name) => name.endsWith('.json')).sort().map((name) => path.join(folder, name));
}

/** The exchanges of a till that plays the files, each with a fresh stand. `tamper` is proxy.js's. */
function play(files, tamper) {
  return withFolder((folder) => new Promise((resolve, reject) => {
    const file = path.join(folder, 'exchanges');
    const env = { ...process.env, KYR_EXCHANGES: file, ...(tamper && { KYR_TAMPER: JSON.stringify(tamper) }) };
    const till = spawn(process.env.KYR_TILL, ['--stand', proxy, 'run', ...files], { env });
    let said = '';
    till.stdout.on('data', (text) => { said += text; });
    till.stderr.on('data', (text) => { said += text; });
    till.on('error', reject);
    till.on('close', (status) => {
      if (status > 1 || (status === 1 && !tamper)) reject(new Error(`The till ended with status ${status}:\n${said}`));
      else resolve(noted(file));
    });
  }));
}

/** One request, and its answer as {status, headers, body}. */
function send(base, { method, path: target, body = '', headers = {} }) {
  return new Promise((resolve, reject) => {
    const all = { authorization: login, 'content-type': 'application/json', ...headers };
    for (const name of Object.keys(all)) if (all[name] === null) delete all[name];
    const request = http.request(new URL(target, base), { method, headers: all, agent: false }, (answer) => {
      const parts = [];
      answer.on('data', (part) => parts.push(part));
      answer.on('end', () => resolve({
        status: answer.statusCode, headers: answer.headers, body: Buffer.concat(parts).toString('utf8'),
      }));
    });
    request.on('error', reject);
    request.end(typeof body === 'string' ? body : JSON.stringify(body));
  });
}

/**
 * Calls `use` with the address of a fresh stand behind the proxy, its data file and a function that gives what it said
 * on stderr so far. Gives the exchanges noted.
 */
function withStand(options, use, program = proxy) {
  return withFolder((folder) => new Promise((resolve, reject) => {
    const file = path.join(folder, 'exchanges');
    const data = path.join(folder, 'stand.sqlite');
    const stand = spawn(program, ['--until-eof', '--data', data, '--sms-code', '1234', ...options], {
      env: { ...process.env, KYR_EXCHANGES: file },
    });
    let complaints = '';
    stand.stderr.on('data', (text) => { complaints += text; });
    let failure = new Error('The stand ended before it said where it listens');
    stand.on('error', reject);
    stand.on('close', () => {
      if (failure) reject(new Error(`${failure.message}\n${complaints}`, { cause: failure }));
      else resolve(noted(file));
    });
    stand.stdout.once('data', (text) => {
      const base = /http:\S+/.exec(String(text))[0];
      failure = null;
      use(base, data, () => complaints).catch((error) => { failure = error; }).finally(() => stand.stdin.end());
    });
  }));
}

function numbered(receipt, number, more = {}) {
  return { ...receipt, receipt_number: String(number), check_identifier: `check-${number}`, ...more };
}

/** Every kind of refusal, asked for with bodies that real ones were made into; `real` are a till's exchanges. */
async function refusals(real) {
  const bodyOf = (operation) => JSON.parse(real.find((one) => one.path.endsWith(operation)).body);
  const at = (operation) => `/v2/partner/operation/${operation}`;
  const spending = { ...bodyOf('/force-payment-c2b'), card: '2000000000055', receipt_bonus_amount: '10.00' };
  const confirm = (id, code) => ({ path: at('confirm-payment-c2b'), body: { approve_id: id, code } });
  const latin = bodyOf('/receipt');
  latin.canceled = latin['\u0441anceled'];
  delete latin['\u0441anceled'];
  const position = JSON.stringify([{ ...JSON.parse(spending.receipt_details)[0], position: '3' }]);

  const requests = [
    { method: 'GET', path: '/v2/partner/card/2000000000017/card-info', headers: { authorization: null } },
    { method: 'GET', path: '/v2/partner/card/2999999999999/card-info' },
    { method: 'GET', path: '/v2/partner/card/20-17/card-info' },
    { method: 'GET', path: at('user/phone/12345/user-info') },
    { path: at('payment-b2c'), body: '[]' },
    { path: at('payment-b2c'), body: { ...bodyOf('/payment-b2c'), card: '20-17', branch_id: undefined } },
    { path: at('payment-b2c'), body: { ...bodyOf('/payment-b2c'), card: '2000000000048' } },
    { path: at('force-payment-c2b'), body: numbered(spending, 1, { card: '2000000000062' }) },
    { path: at('force-payment-c2b'), body: numbered(spending, 2, { card: '2000000000079' }) },
    { path: at('force-payment-c2b'), body: numbered(spending, 3, { receipt_bonus_amount: '300.01' }) },
    { path: at('force-payment-c2b'), body: numbered(spending, 4, { card: '2000000000031', receipt_bonus_amount: '1000.00' }) },
    { path: at('force-payment-c2b'), body: numbered(spending, 5, { receipt_bonus_amount: '0.00' }) },
    { path: at('force-payment-c2b'), body: numbered(spending, 6, { receipt_bonus_amount: 10 }) },
    { path: at('force-payment-c2b'), body: numbered(spending, 7) },
    { path: at('force-payment-c2b'), body: numbered(spending, 7, { receipt_bonus_amount: '20.00' }) },
    { path: at('cancel-payment'), body: { receipt_number: 7 } },
    { path: at('cancel-payment'), body: { ...bodyOf('/cancel-payment'), receipt_number: '8-cancel', receipt_to_cancel: '8' } },
    { path: at('force-payment-c2b'), body: numbered(spending, 8) },
    { path: at('payment-c2b'), body: numbered(spending, 9) },
    ...['1', '2', '3'].map((code) => confirm(1, code)),
    { path: at('payment-c2b'), body: numbered(spending, 11) },
    { path: at('payment-c2b'), body: numbered(spending, 11, { receipt_bonus_amount: '5.00' }) },
    confirm(2, '1234'),
    confirm(99, '1234'),
    { path: at('refuse-payment'), body: { ...bodyOf('/refuse-payment'), receipt_to_refuse: '10' } },
    { path: at('refuse-payment'), body: { ...bodyOf('/refuse-payment'), card: '2000000000055', receipt_to_refuse: '7', receipt_details: position } },
    { path: at('receipt'), body: latin },
    { method: 'GET', path: '/v2/partner/nowhere' },
    { method: 'DELETE', path: at('receipt') },
  ];
  const answers = await withStand([], async (base) => {
    for (const request of requests) await send(base, { method: 'POST', ...request });
    const card = await send(base, { method: 'GET', path: at('user/card/2000000000062/user-info') });
    assert.equal(card.status, 200);
  });
  const late = await withStand(['--code-lifetime', '0'], async (base) => {
    await send(base, { method: 'POST', path: at('payment-c2b'), body: numbered(spending, 1) });
    await send(base, { method: 'POST', ...confirm(1, '1234') });
  });
  const broken = await withStand([], async (base, data) => {
    fs.writeFileSync(data, 'no data any more'.repeat(10000));
    await send(base, { method: 'GET', path: '/v2/partner/card/2000000000017/card-info' });
  });
  return [...answers, ...late, ...broken];
}

/** Every one of the stand's own pages, as they are at first and after a day with everything in it. */
async function ownPages(real) {
  const bodyOf = (operation) => JSON.parse(real.find((one) => one.path.endsWith(operation)).body);
  const at = (operation) => `/v2/partner/operation/${operation}`;
  const spending = { ...bodyOf('/force-payment-c2b'), card: '2000000000055', receipt_bonus_amount: '10.00' };
  const unknown = { method: 'GET', path: '/v2/partner/card/2999999999999/card-info' };
  const looks = ['', '/', '/page.css', '/page.js', '/paths', '/cards', '/codes', '/exchanges', '/ledger', '/invariants',
    '/overview', '/clock', '/faults'].map((page) => ({ method: 'GET', path: `/stand${page}` }));
  const docs = ['/', '/docs', '/docs/', '/docs/docs.css', '/docs/openapi.yaml'].map((path) => ({ method: 'GET', path }));
  const arm = (body) => ({ path: '/stand/faults', body });
  const remove = (number = '') => ({ method: 'DELETE', path: `/stand/faults${number}` });
  const requests = [
    ...looks, ...docs,
    arm(['force-payment-c2b:apply-then-drop']), remove('/1'), remove(),
    unknown, { method: 'GET', path: '/stand/exchanges' },
    arm(['any:drop']), unknown, { method: 'GET', path: '/stand/exchanges?after=1' }, remove(),
    { path: at('payment-c2b'), body: numbered(spending, 9) },
    { method: 'GET', path: '/stand/codes' },
    { path: at('force-payment-c2b'), body: numbered(spending, 7) },
    { path: at('refuse-payment'), body: { ...bodyOf('/refuse-payment'), card: '2000000000055', receipt_to_refuse: '7' } },
    { path: at('cancel-payment'), body: { ...bodyOf('/cancel-payment'), receipt_number: '7-cancel', receipt_to_cancel: '7' } },
    { path: at('cancel-payment'), body: { ...bodyOf('/cancel-payment'), receipt_number: '8-cancel', receipt_to_cancel: '8' } },
    { path: at('receipt'), body: bodyOf('/receipt') },
    arm({ operation: 'any', fault: 'status', nth: 2, code: 503 }),
    arm([
      { operation: 'GET /v2/partner/card/*', fault: 'late', when: 'after', ms: '20', nth: '1000', every: 2, count: 'all' },
      { fault: 'type', field: 'data.*', as: 'null', nth: 1000 }, { fault: 'length', by: 5, nth: 1000 },
      { fault: 'drip', bytes: 3, nth: 1000 }, { fault: 'redirect', to: '/moved', nth: 1000 },
      { fault: 'status', envelope: 'no', text: 'Занято', 'retry-after': 5, nth: 1000 },
    ]),
    { path: '/stand/clock', body: { advance: 86400 } },
    { path: '/stand/clock', body: { time: '2036-12-01T00:00:00Z' } },
    ...looks,
  ];
  const ofService = ({ path: target }) => target.startsWith('/v2/');
  const noted = await withStand([], async (base) => {
    for (const request of requests) {
      const headers = { authorization: ofService(request) ? login : null };
      await send(base, { method: 'POST', headers, ...request }).catch(() => {}); // a fault's
    }
  });
  return noted.filter((one) => !ofService(one));
}

/** What the stand's own pages refuse. */
function ownRefusals() {
  const requests = [
    { method: 'GET', path: '/stand/codes', headers: { host: 'evil.example' } },
    { method: 'GET', path: '/docs', headers: { origin: 'http://evil.example' } },
    { method: 'GET', path: '/stand/exchanges?after=first' },
    { method: 'GET', path: '/stand/nowhere' },
    { path: '/stand/clock', body: { advance: -1 } },
    { path: '/stand/faults', body: [{ operation: 'any', fault: 'late', ms: 'soon' }] },
    { method: 'DELETE', path: '/stand/faults/99' },
    { method: 'PUT', path: '/stand/faults' },
  ];
  return withStand([], async (base) => {
    for (const request of requests) await send(base, { method: 'POST', ...request });
  });
}

module.exports = { ownPages, ownRefusals, play, refusals, scenarios, send, withStand };
