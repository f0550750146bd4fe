// Each real exchange with one thing wrong, thousands of them: is the page strict enough to tell?
'use strict';

const assert = require('node:assert/strict');
const { test } = require('node:test');
const { Contract } = require('./contract');
const exchanges = require('./exchanges');
const { mutants } = require('./mutants');

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
  ...inPositions(['prod_code', 'prod_name'], ': longer'),
  ...inPositions(['prod_code', 'prod_name'], ': empty'),
  ...all([...withCard, ...withoutCard], 'request', 'value', members('', ['branch_id'], ': longer')),
  ...all([...withCard, ...withoutCard], 'request', 'value', members('', ['branch_id'], ': empty')),
  ...all(withCard, 'request', 'value', members('', ['check_identifier', 'receipt_currency'], ': longer')),
  ...all(withoutCard, 'request', 'value', ['/receipt_number: longer']),
  ...all(withoutCard, 'answer', 'value', ['/data/receipt_number: longer']),
  ...all(['takeBack'], 'request', 'value', ['/receipt_description: longer']),
  ...all(['confirmSpending'], 'request', 'value', ['/code: longer']),
  ...all(customers, 'answer', 'value', members('/data/user_data',
    ['address', 'email', 'first_name', 'last_name', 'middle_name'], ': longer')),
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
  // A refusal's message may have any text, in any of three forms, of any members.
  ...all(['failure'], 'answer', 'value', ['/data/*/message: longer']),
  ...all(['failure'], 'answer', 'kind', ['/data/*/message: string instead', '/data/*/message/(name): string instead']),
  ...all(['failure'], 'answer', 'value', ['/data/*/message/(name): longer', '/data/*/message/(name)/*: longer']),
  ...all(['failure'], 'answer', 'member removed', ['/data/*/message/(name)']),
];

test('Whatever one makes wrong in a real exchange breaks the contract', async (t) => {
  const contract = Contract.read(process.env.KYR_OPENAPI);
  const counts = {};
  const survivors = new Set();
  const isBroken = (exchange, side) => contract.judge(exchange).some((text) => text.startsWith(side));

  function* broken(real) {
    for (const exchange of real) {
      for (const mutant of mutants(exchange)) {
        if (isBroken(exchange, mutant.side)) continue; // it was wrong before
        const count = (counts[mutant.family] ??= { made: 0, harmless: 0 });
        count.made += 1;
        if (isBroken(mutant.exchange, mutant.side)) continue;
        count.harmless += 1;
        const failed = mutant.side === 'answer' && exchange.status !== 200;
        const name = failed ? 'failure' : contract.operationOf(exchange).operationId;
        yield `${name}, ${mutant.side}: ${mutant.family} ${mutant.at.replace(/(message\/)\p{Letter}[^/:]*/u, '$1(name)')}`;
      }
    }
  }

  const played = await exchanges.play(exchanges.scenarios());
  for (const one of broken([...played, ...await exchanges.refusals(played)])) survivors.add(one);
  for (const [family, { made, harmless: left }] of Object.entries(counts)) t.diagnostic(`${family}: ${made}, of them harmless ${left}`);
  assert.deepEqual(Object.keys(counts).sort(), ['around', 'kind', 'member added', 'member removed', 'value']);
  assert.deepEqual([...survivors].sort(), harmless.sort());
});
