// The exchanges with the stand's own pages with one thing wrong each: is the page strict enough of them too?
'use strict';

const assert = require('node:assert/strict');
const { before, describe, test } = require('node:test');
const { Contract } = require('./contract');
const exchanges = require('./exchanges');
const { needlessRules, schemasOf, sortedOut } = require('./strictness');

// What is no mistake after all, and why.
const harmless = [
  /around (no|other) credentials$/, // nobody is asked for any
  / value /, // numbers that count on, texts for people, empty lists: the rules that there are, are all needed
  /anonymous\/\*\/receipt\//, // as it came; the service's own request says what it is like
  /member removed .*\/(card|holder|phone|fault|refers_to|root|content-(length|type))$/, // of what has none
  /\/root: (null|number) instead$/,
  /armFaults, request: kind : list instead$/, // an empty one
  /settings\/|\/(as|by|bytes|code|envelope|field|ms|retry-after|text|to|when|nth|every|count|operation)(:|$)/, // each fault has its own
];

describe("A real exchange with the stand's own pages with one thing wrong", () => {
  const contract = Contract.read(process.env.KYR_OPENAPI);
  let found;
  before(async () => {
    const played = await exchanges.play(exchanges.scenarios().filter((name) => /0[2-9]-|1[0-9]-/.test(name)));
    const own = await exchanges.ownPages(played);
    found = sortedOut(contract, own.filter(({ answer }) => /^[{[]/.test(answer)));
  });

  test('breaks the contract', (t) => {
    t.diagnostic(`${found.caught.length} kinds`);
    assert.ok(found.caught.length > 1000);
    assert.deepEqual(found.harmlessOnes.filter((name) => !harmless.some((one) => one.test(name))), []);
  });

  test('needs every rule of the page to be told', (t) => {
    const names = schemasOf(contract.document, /^\/(?!v2\/)/);
    for (const name of schemasOf(contract.document, /^\/v2\//)) names.delete(name); // judged with the service
    const { listed, needless } = needlessRules(contract, found.caught, names);
    t.diagnostic(`${listed} rules`);
    assert.ok(listed > 100);
    assert.deepEqual(needless, []);
  });
});
