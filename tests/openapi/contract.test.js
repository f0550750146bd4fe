// The till, the stand and its own pages, each held against stand/openapi.yaml.
'use strict';

const assert = require('node:assert/strict');
const fs = require('fs');
const path = require('path');
const { before, describe, test } = require('node:test');
const { Contract } = require('./contract');
const exchanges = require('./exchanges');

const ofSide = (side) => (text) => text.startsWith(side);
const described = ({ method, path, status }) => `${method} ${path} ${status}`;

describe('The contract', () => {
  const contract = Contract.read(process.env.KYR_OPENAPI);
  let played = [];
  let refused = [];
  let own = [];
  let ownRefused = [];
  before(async () => {
    played = await exchanges.play(exchanges.scenarios());
    refused = await exchanges.refusals(played);
    own = await exchanges.ownPages(played);
    ownRefused = await exchanges.ownRefusals();
  });

  test('holds for till and stand in every exchange of all scenarios', (t) => {
    const wrong = played.flatMap((one) => contract.judge(one).map((text) => `${described(one)}: ${text}`));
    assert.deepEqual(wrong, []);
    t.diagnostic(`${played.length} exchanges`);
  });

  test("holds for the stand's own pages in both directions", (t) => {
    const wrong = own.flatMap((one) => contract.judge(one).map((text) => `${described(one)}: ${text}`));
    assert.deepEqual(wrong, []);
    t.diagnostic(`${own.length} exchanges`);
  });

  test("holds for what the stand's own pages refuse", () => {
    const wrong = ownRefused.flatMap((one) => contract.judge(one).filter(ofSide('answer')).map((text) => `${described(one)}: ${text}`));
    assert.deepEqual(wrong, []);
    assert.deepEqual(ownRefused.map(({ status }) => status), [403, 403, 422, 404, 422, 422, 404, 405]);
    const complainedOf = ownRefused.filter(({ status }) => status === 405 || status === 422);
    for (const one of complainedOf) assert.ok(contract.judge(one).some(ofSide('request')), described(one));
  });

  test('holds for every body that the client is known to write', () => {
    const operations = {
      earn: /^earn/, spendAtOnce: /^force_payment/, requestSpending: /^payment/, spendingLimits: /^pre_payment/,
      takeBack: /^refuse_/, cancelSpending: /^cancel/, reportReturn: /^anonymous_back/, reportSale: /^anonymous_(?!back)/,
    };
    const names = fs.readdirSync(process.env.KYR_GOLDEN);
    for (const [operation, prefix] of Object.entries(operations)) {
      const real = played.find((one) => one.status === 200 && contract.operationOf(one).operationId === operation);
      const bodies = names.filter((name) => prefix.test(name));
      assert.ok(bodies.length > 0, operation);
      for (const name of bodies) {
        const body = fs.readFileSync(path.join(process.env.KYR_GOLDEN, name), 'utf8');
        assert.deepEqual(contract.judge({ ...real, body }), [], name);
      }
    }
  });

  test('judges what the stand itself says that it heard and answered', async () => {
    const good = played.find((one) => one.path.endsWith('/payment-b2c'));
    let kept;
    const noted = await exchanges.withStand([], async (base) => {
      await exchanges.send(base, { method: 'GET', path: '/v2/partner/card/2000000000017/card-info?a=%20b' });
      await exchanges.send(base, { method: 'POST', path: good.path, body: good.body });
      await exchanges.send(base, { method: 'PUT', path: '/v2/nowhere', body: 'Ё' });
      kept = JSON.parse((await exchanges.send(base, { method: 'GET', path: '/stand/exchanges' })).body).exchanges;
    });
    const ofService = noted.filter(({ path: target }) => target.startsWith('/v2/'));
    assert.equal(ofService.length, 3);
    assert.deepEqual(ofService.map((one) => [one.method, one.path, one.body, one.status, one.answer]),
      kept.map((one) => [one.method, one.path, one.request_body, one.status, one.answer_body]));
  });

  test('has no operation that scenarios and pages leave out', () => {
    const succeeded = [...played, ...own].filter(({ status }) => status >= 200 && status < 400).map((one) => contract.operationOf(one))
      .map(({ method, template }) => `${method.toUpperCase()} ${template}`);
    assert.deepEqual([...new Set(succeeded)].sort(), contract.operations().sort());
  });

  test('holds for the stand in every refusal', (t) => {
    const wrong = refused.flatMap((one) => contract.judge(one).filter(ofSide('answer')).map((text) => `${described(one)}: ${text}`));
    assert.deepEqual(wrong, []);
    const statuses = new Set(refused.map(({ status }) => status));
    assert.deepEqual([...statuses].sort(), [200, 400, 401, 403, 404, 405, 409, 422, 500]);
    t.diagnostic(`${refused.length} exchanges`);
  });

  test('calls a request wrong whenever the stand complains of its form', () => {
    const complainedOf = refused.filter(({ status, answer }) => [400, 401, 405].includes(status)
      || (status === 422 && answer.includes('{"message":{') && !answer.includes('нет в отменяемой операции')));
    assert.ok(complainedOf.length >= 8);
    for (const one of complainedOf) assert.ok(contract.judge(one).some(ofSide('request')), described(one));
  });

  test('is broken by a wrong body on its way to the stand', async () => {
    const good = JSON.parse(played.find(({ path }) => path.endsWith('/payment-b2c')).body);
    const bodies = [
      { ...good, receipt_details: JSON.parse(good.receipt_details) },
      { ...good, receipt_discount: '1.5' },
      { ...good, operator_id: 'Иванова' },
    ];
    const noted = await exchanges.withStand([], async (base) => {
      for (const body of bodies) await exchanges.send(base, { method: 'POST', path: '/v2/partner/operation/payment-b2c', body });
    });
    assert.deepEqual(noted.map((one) => contract.judge(one).filter(ofSide('request'))), [
      ['request /receipt_details: must be string'],
      ['request /receipt_discount: must match pattern "^(0|-?(0\\.(0[1-9]|[1-9][0-9])|[1-9][0-9]{0,8}\\.[0-9]{2}))$"'],
      ['request /operator_id: must be null'],
    ]);
  });

  test('is told at once to a till that is not ours', async () => {
    const target = '/v2/partner/operation/confirm-payment-c2b';
    let told;
    await exchanges.withStand([], async (base, data, complaints) => {
      told = complaints;
      await exchanges.send(base, { method: 'GET', path: '/v2/partner/card/2000000000017/card-info' });
      await exchanges.send(base, { method: 'POST', path: target, body: { approve_id: '1', code: '1234' } });
      await exchanges.send(base, { method: 'POST', path: '/stand/clock', body: { advance: '1' } });
    }, process.env.KYR_JUDGED_STAND);
    assert.equal(told(), `POST ${target}: request /approve_id: must be integer\n`
      + 'POST /stand/clock: request /advance: must be number\n');
  });

  test('is broken by a wrong answer on its way to the till', async () => {
    const [file] = exchanges.scenarios().filter((name) => name.includes('02-'));
    const tamper = { path: '/payment-b2c', replace: '"paymentBonus":29.21', with: '"paymentBonus":"29.21"' };
    const noted = await exchanges.play([file], tamper);
    assert.deepEqual(noted.flatMap((one) => contract.judge(one)), ['answer /data/paymentBonus: must be number']);
  });

  test('has the paths and methods that the running stand has', async () => {
    let listed;
    await exchanges.withStand([], async (base) => {
      listed = JSON.parse((await exchanges.send(base, { method: 'GET', path: '/stand/paths' })).body);
    });
    assert.deepEqual(listed.map(({ method, path }) => `${method} ${path}`).sort(), contract.operations().sort());
  });

  test('allows the methods that the running stand allows, and no others', async () => {
    const paths = contract.paths.map(({ template }) => template
      .replace('{card}', '2000000000017').replace('{phone}', '79001234567').replace('{id}', '1'));
    const noted = await exchanges.withStand([], async (base) => {
      for (const path of [...paths, '/v2/partner/card', '/v2/']) await exchanges.send(base, { method: 'PATCH', path });
    });
    for (const one of noted) assert.deepEqual(contract.judge(one).filter(ofSide('answer')), [], described(one));
    assert.equal(noted.filter(({ status }) => status === 405).length, paths.length);
  });

  test('tells in its examples what was really said', () => {
    const said = [...played, ...refused, ...own, ...ownRefused].flatMap(({ body, answer }) => [body, answer]);
    const real = new Set(said.filter((text) => /^[{[]/.test(text)).map((text) => covered(JSON.parse(text))));
    for (const [where, { content = {} }] of contents(contract)) {
      // Pages for people are no examples, and the overview is as long as all others together.
      if (!content['application/json'] || where === 'GET /stand/overview 200') continue;
      const { examples } = content['application/json'];
      assert.ok(Object.keys(examples).length > 0, where);
      for (const [name, { value }] of Object.entries(examples)) assert.ok(real.has(covered(value)), `${where}: ${name}`);
    }
  });
});

/** Every body of the page, with the place it has there. */
function* contents(contract) {
  for (const operation of contract.operations()) {
    const [method, path] = operation.split(' ');
    const { requestBody, responses } = contract.document.paths[path][method.toLowerCase()];
    if (requestBody) yield [operation, requestBody];
    for (const [status, response] of Object.entries(responses)) yield [`${operation} ${status}`, contract.resolved(response)];
  }
}

/** The value as a text to compare it by: members in order, and without the numbers and times that the clock gave. */
function covered(value) {
  return JSON.stringify(sorted(value)).replace(/\b1[0-9]{9}(?=\D)/g, 'N')
    .replace(/"time":"[^"]*"/g, '"time":"T"').replace(/"seconds_left":[0-9]+/g, '"seconds_left":N');
}

function sorted(value) {
  if (Array.isArray(value)) return value.map(sorted);
  if (value === null || typeof value !== 'object') return value;
  return Object.fromEntries(Object.keys(value).sort().map((name) => [name, sorted(value[name])]));
}
