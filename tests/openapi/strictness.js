// How strict the page is: which mistakes it tells, and which of its rules nothing would miss.
'use strict';

const { Contract } = require('./contract');
const { mutants } = require('./mutants');

/** What has one thing wrong and passes all the same, and what does not, each kind of mistake once. */
function sortedOut(contract, real) {
  const counts = {};
  const harmlessOnes = new Set();
  const caught = new Map();
  const isBroken = (exchange, side) => contract.judge(exchange).some((text) => text.startsWith(side));
  for (const exchange of real) {
    const wasBroken = { request: isBroken(exchange, 'request'), answer: isBroken(exchange, 'answer') };
    for (const mutant of mutants(exchange)) {
      if (wasBroken[mutant.side]) continue;
      const failed = mutant.side === 'answer' && exchange.status >= 400;
      const operation = failed ? 'failure' : contract.operationOf(exchange).operationId;
      const place = mutant.at.replace(/(message\/)\p{Letter}[^/:]*/u, '$1(name)');
      const name = `${operation}, ${mutant.side}: ${mutant.family} ${place}`;
      const isCaught = isBroken(mutant.exchange, mutant.side);
      const count = (counts[mutant.family] ??= { made: 0, harmless: 0 });
      count.made += 1;
      count.harmless += isCaught ? 0 : 1;
      if (isCaught) caught.set(name, mutant);
      else harmlessOnes.add(name);
    }
  }
  return { counts, harmlessOnes: [...harmlessOnes], caught: [...caught.values()] };
}

// `type` is not among them: the validator itself insists on it wherever another rule needs it.
const rules = ['pattern', 'const', 'enum', 'minimum', 'maximum', 'minLength', 'minItems', 'minProperties',
  'additionalProperties', 'unevaluatedProperties', 'format', 'contentSchema'];

/** The names of the schemas that the operations of such paths lead to. */
function schemasOf(document, paths) {
  const names = new Set();
  const follow = (node) => {
    if (node === null || typeof node !== 'object') return;
    for (const value of Object.values(node)) follow(value);
    if (!node.$ref) return;
    const place = node.$ref.slice(2).split('/');
    if (place[1] === 'schemas' && names.has(place[2])) return;
    if (place[1] === 'schemas') names.add(place[2]);
    follow(place.reduce((part, name) => part[name], document));
  };
  for (const [path, item] of Object.entries(document.paths)) if (paths.test(path)) follow(item);
  return names;
}

/** Every rule of the schemas, as its name and a function that takes it out of a copy of the page. */
function* rulesOf(schema, path = []) {
  if (schema === null || typeof schema !== 'object') return;
  const within = (document) => path.reduce((part, name) => part[name], document.components.schemas);
  const isSchema = path.at(-1) !== 'properties';
  for (const [name, value] of Object.entries(schema)) {
    if (isSchema && rules.includes(name)) yield [`${path.join('/')} ${name}`, (page) => delete within(page)[name]];
    if (isSchema && name === 'required') {
      for (const member of value) {
        yield [`${path.join('/')} required ${member}`, (page) => {
          within(page).required = value.filter((one) => one !== member);
        }];
      }
    }
    yield* rulesOf(value, [...path, name]);
  }
}

/** How many rules the schemas of these names have, and those without which all the mutants are caught as well. */
function needlessRules(contract, caught, names) {
  const page = JSON.stringify(contract.document);
  const listed = [...rulesOf(contract.document.components.schemas)].filter(([place]) => names.has(place.split(/[/ ]/)[0]));
  const needless = listed.filter(([place, takeOut]) => {
    const changed = JSON.parse(page);
    takeOut(changed);
    const looser = new Contract(changed);
    // One that is let through is enough: the first to look at are those that are wrong where the rule stands.
    const member = `/${place.match(/(?:required |.*properties\/)([^/ ]+)/)?.[1]}`;
    const [near, far] = [true, false].map((isNear) => caught.filter(({ at }) => at.includes(member) === isNear));
    return [...near, ...far].every((mutant) => looser.judge(mutant.exchange).some((text) => text.startsWith(mutant.side)));
  });
  return { listed: listed.length, needless: needless.map(([name]) => name) };
}

module.exports = { needlessRules, schemasOf, sortedOut };
