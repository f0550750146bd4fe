// Real exchanges with one thing wrong each.
'use strict';

function kindOf(value) {
  if (value === null) return 'null';
  return Array.isArray(value) ? 'list' : typeof value;
}

const samples = { null: null, boolean: true, number: 1, string: '1', list: [], object: {} };

/** Values of every other kind of JSON. */
function otherKinds(value) {
  const texts = typeof value === 'number' ? { ...samples, string: String(value) } : samples;
  return Object.entries(texts).filter(([kind]) => kind !== kindOf(value)).map(([kind, other]) => [`${kind} instead`, other]);
}

/** Values of the same kind that are wrong wherever there is a rule. */
function wrongValues(value) {
  switch (kindOf(value)) {
    case 'number': return [['below', -1], ['above', 2 ** 31], ['between', value + 0.001]];
    case 'string': return [['prefixed', `x${value}`], ['longer', `${value}x`], ['empty', '']];
    case 'list': return value.length ? [['emptied', []]] : [];
    default: return [];
  }
}

/** Every version of the value with one thing wrong, as {family, at, value}; `at` has no numbers of list items. */
function* mutantsOf(value, at = '') {
  for (const [how, other] of otherKinds(value)) yield { family: 'kind', at: `${at}: ${how}`, value: other };
  for (const [how, other] of wrongValues(value)) yield { family: 'value', at: `${at}: ${how}`, value: other };
  if (kindOf(value) === 'list') {
    for (const [index, item] of value.entries()) {
      for (const mutant of mutantsOf(item, `${at}/*`)) yield { ...mutant, value: Object.assign([...value], { [index]: mutant.value }) };
    }
  } else if (kindOf(value) === 'object') {
    yield { family: 'member added', at: `${at}/+`, value: { ...value, unheardOf: 1 } };
    for (const [name, member] of Object.entries(value)) {
      const { [name]: removed, ...rest } = value;
      yield { family: 'member removed', at: `${at}/${name}`, value: rest };
      for (const mutant of mutantsOf(member, `${at}/${name}`)) yield { ...mutant, value: { ...value, [name]: mutant.value } };
    }
  } else if (typeof value === 'string' && value.startsWith('[')) { // a text that holds JSON
    for (const mutant of mutantsOf(JSON.parse(value), `${at} as JSON`)) yield { ...mutant, value: JSON.stringify(mutant.value) };
    yield { family: 'kind', at: `${at}: no JSON`, value: value.slice(0, -1) };
    yield { family: 'kind', at: `${at}: nested`, value: JSON.parse(value) };
  }
}

/** The exchange with one thing wrong each: in the request, in the answer, or around them; `side` says whose mistake. */
function* mutants(exchange) {
  if (exchange.body) {
    for (const mutant of mutantsOf(JSON.parse(exchange.body))) {
      yield { ...mutant, side: 'request', exchange: { ...exchange, body: JSON.stringify(mutant.value) } };
    }
  }
  for (const mutant of mutantsOf(JSON.parse(exchange.answer))) {
    yield { ...mutant, side: 'answer', exchange: { ...exchange, answer: JSON.stringify(mutant.value) } };
  }
  const around = (side, at, change) => ({ family: 'around', side, at, exchange: { ...exchange, ...change } });
  const { authorization, ...stranger } = exchange.headers;
  yield around('request', 'no credentials', { headers: stranger });
  yield around('request', 'other credentials', { headers: { ...stranger, authorization: 'Bearer 1' } });
  yield around('request', 'other method', { method: 'PATCH' });
  yield around('request', 'other path', { path: `${exchange.path}/` });
  if (/\/[0-9]/.test(exchange.path)) {
    yield around('request', 'no number in the path', { path: exchange.path.replace(/\/[0-9]+/, '/20-17') });
  }
  if (exchange.body) {
    yield around('request', 'other type', { headers: { ...exchange.headers, 'content-type': 'text/plain' } });
    yield around('request', 'no JSON', { body: exchange.body.slice(0, -1) });
    yield around('request', 'no body', { body: '' });
  } else {
    yield around('request', 'a body', { body: '{}' });
  }
  yield around('answer', 'other status', { status: 418 });
  yield around('answer', 'status of the other kind', { status: exchange.status === 200 ? 401 : 200 });
  yield around('answer', 'other type', { answerHeaders: { ...exchange.answerHeaders, 'content-type': 'text/html' } });
  yield around('answer', 'no JSON', { answer: exchange.answer.slice(0, -1) });
  yield around('answer', 'no body', { answer: '' });
}

module.exports = { mutants };
