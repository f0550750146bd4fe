// Each real exchange with one thing wrong, thousands of them: is the page strict enough to tell?
'use strict';

const assert = require('node:assert/strict');
const { before, describe, test } = require('node:test');
const { Contract } = require('./contract');
const exchanges = require('./exchanges');
const { needlessRules, schemasOf, sortedOut } = require('./strictness');

const spending = ['spendingLimits', 'spendAtOnce', 'requestSpending'];
const withCard = [...spending, 'earn', 'takeBack'];
const withoutCard = ['reportSale', 'reportReturn'];
const customers = ['customerByCard', 'cardsByPhone'];

const all = (operations, side, family, places) => operations.flatMap((operation) => places
  .map((place) => `${operation}, ${side}: ${family} ${place}`));
const members = (place, names, how = '') => names.map((name) => `${place}/${name}${how}`);
/** In the positions of a receipt, with a card and without. */
const inPositions = (names, how) => [
  ...all(withCard, 'request', 'value', members('/receipt_details as JSON/*', names, how)),
  ...all(withoutCard, 'request', 'value', members('/receipt_details/*', names, how)),
];

// What is no mistake after all, and why.
const harmless = [
  // The service leaves out what it does not know.
  ...all(customers, 'answer', 'member removed', ['/data/user_data']),
  ...all(customers, 'answer', 'member removed', members('/data/user_data',
    ['address', 'birth_day', 'email', 'first_name', 'gender', 'last_name', 'middle_name', 'mobile'])),
  // A customer may have no cards, and a receipt that comes to nothing has no positions.
  ...all(['cardsByPhone'], 'answer', 'value', ['/data/cards_data: emptied']),
  ...all(['spendingLimits'], 'answer', 'value', ['/data/receipt_details: emptied']),
  ...all(withCard, 'request', 'value', ['/receipt_details as JSON: emptied']),
  ...all(withoutCard, 'request', 'value', ['/receipt_details: emptied']),
  // Texts for people, or of the shop's own making.
  ...['prefixed', 'longer'].flatMap((how) => [
    ...inPositions(['prod_code', 'prod_name'], `: ${how}`),
    ...all([...withCard, ...withoutCard], 'request', 'value', [`/branch_id: ${how}`]),
    ...all(withCard, 'request', 'value', members('', ['check_identifier', 'receipt_currency'], `: ${how}`)),
    ...all(withoutCard, 'request', 'value', [`/receipt_number: ${how}`]),
    ...all(withoutCard, 'answer', 'value', [`/data/receipt_number: ${how}`]),
    ...all(['confirmSpending'], 'request', 'value', [`/code: ${how}`]),
    ...all(customers, 'answer', 'value', members('/data/user_data',
      ['address', 'email', 'first_name', 'last_name', 'middle_name'], `: ${how}`)),
    ...all(['failure'], 'answer', 'value', ['/data/*/message', '/data/*/message/(name)', '/data/*/message/(name)/*']
      .map((place) => `${place}: ${how}`)),
  ]),
  ...inPositions(['prod_code', 'prod_name'], ': empty'),
  ...all([...withCard, ...withoutCard], 'request', 'value', ['/branch_id: empty']),
  ...all(['takeBack'], 'request', 'value', ['/receipt_description: longer']),
  // A till that lost the number sends none.
  ...all(['takeBack'], 'request', 'value', ['/receipt_to_refuse: empty']),
  ...all(['cancelSpending'], 'request', 'value', ['/receipt_to_cancel: empty']),
  // What a till reckons has no end and may not stop at hundredths; points stop there.
  ...['above', 'between'].flatMap((how) => [
    ...inPositions(['prod_amount', 'prod_price', 'prod_sum'], `: ${how}`),
    ...all([...withCard, ...withoutCard], 'request', 'value', [`/receipt_amount: ${how}`]),
  ]),
  ...all(['earn'], 'answer', 'value', ['/data/paymentBonus: above']),
  ...all(['takeBack'], 'answer', 'value', ['/data/refused_bonus: above']),
  ...all(['cancelSpending'], 'answer', 'value', ['/data/canceled_bonus: above']),
  ...all(['spendingLimits'], 'answer', 'value',
    ['/data/payment_bonus: above', '/data/receipt_details/*/parameters/max_payment_bonus: above']),
  ...all(['spendAtOnce', 'confirmSpending'], 'answer', 'value', ['/data/newRecipientDetails/*/discount_bonus: above']),
  // A refusal's message has any of three forms, and any members.
  ...all(['failure'], 'answer', 'kind', ['/data/*/message: string instead', '/data/*/message/(name): string instead']),
  ...all(['failure'], 'answer', 'member removed', ['/data/*/message/(name)']),
];

describe('A real exchange with one thing wrong', () => {
  const contract = Contract.read(process.env.KYR_OPENAPI);
  let found;
  before(async () => {
    const played = await exchanges.play(exchanges.scenarios());
    const ofService = played.filter(({ path }) => path.startsWith('/v2/'));
    found = sortedOut(contract, [...ofService, ...await exchanges.refusals(ofService)]);
  });

  test('breaks the contract', (t) => {
    for (const [family, { made, harmless: left }] of Object.entries(found.counts)) t.diagnostic(`${family}: ${made}, of them harmless ${left}`);
    assert.deepEqual(Object.keys(found.counts).sort(), ['around', 'kind', 'member added', 'member removed', 'value']);
    const without = (names, others) => names.filter((name) => !others.includes(name));
    assert.deepEqual(without(found.harmlessOnes, harmless), [], 'these should be caught');
    assert.deepEqual(without(harmless, found.harmlessOnes), [], 'these are caught, though thought harmless');
  });

  test('needs every rule of the page to be told', (t) => {
    const { listed, needless } = needlessRules(contract, found.caught, schemasOf(contract.document, /^\/v2\//));
    t.diagnostic(`${listed} rules`);
    assert.ok(listed > 100);
    assert.deepEqual(needless, []);
  });
});
