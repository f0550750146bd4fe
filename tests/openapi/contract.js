// Holds exchanges with the stand against the OpenAPI page.
'use strict';

const fs = require('fs');
const { Ajv2020 } = require('ajv/dist/2020');
const addFormats = require('ajv-formats');
const YAML = require('yaml');

const root = 'openapi';

function schemas(document) {
  const ajv = new Ajv2020({ allErrors: true, strict: true, strictRequired: false, allowMatchingProperties: true });
  addFormats(ajv, ['date', 'email']);
  // multipleOf: 0.01 would reject 4.35, which is no multiple of 0.01 in binary.
  ajv.addFormat('hundredths', { type: 'number', validate: (value) => Number(value.toFixed(2)) === value });
  // By the standard an annotation only; here what is inside the text is held against its schema too.
  ajv.removeKeyword('contentSchema');
  ajv.addKeyword({
    keyword: 'contentSchema',
    type: 'string',
    schemaType: 'object',
    errors: true,
    compile(schema) {
      const inner = ajv.compile({ $ref: root + schema.$ref });
      return function validate(text, { instancePath }) {
        const value = parsed(text);
        if (value !== undefined && inner(value)) return true;
        const errors = value === undefined ? [{ instancePath: '', message: 'must be JSON' }] : inner.errors;
        validate.errors = errors.map((error) => ({
          ...error, keyword: 'contentSchema', params: {}, instancePath: `${instancePath} (as JSON) ${error.instancePath}`,
        }));
        return false;
      };
    },
  });
  ajv.addVocabulary(Object.keys(document)); // the page is no schema itself, only its references lead to some
  ajv.addSchema(document, root);
  return ajv;
}

function parsed(text) {
  try {
    return JSON.parse(text);
  } catch {
    return undefined;
  }
}

function pointer(...segments) {
  return `#/${segments.map((one) => encodeURIComponent(one.replace(/~/g, '~0').replace(/\//g, '~1'))).join('/')}`;
}

class Contract {
  /** `document` is the OpenAPI page as an object. */
  constructor(document) {
    this.document = document;
    this.ajv = schemas(document);
    this.validators = new Map();
    this.paths = Object.keys(document.paths).map((template) => {
      const expression = template.replace(/\{(\w+)\}/g, '(?<$1>[^/]+)');
      return { template, expression: new RegExp(`^${expression}$`) };
    });
  }

  static read(file) {
    return new Contract(YAML.parse(fs.readFileSync(file, 'utf8')));
  }

  /** Every "METHOD path" of the page. */
  operations() {
    const methods = ['get', 'put', 'post', 'delete', 'patch', 'head', 'options'];
    return this.paths.flatMap(({ template }) => methods
      .filter((method) => this.document.paths[template][method])
      .map((method) => `${method.toUpperCase()} ${template}`));
  }

  /** Where on the page the exchange's operation is, with the values in its path; nothing when it is not listed. */
  operationOf({ method, path }) {
    const target = path.split('?')[0];
    const { template, expression } = this.paths.find((one) => one.expression.test(target)) || {};
    const listed = template && this.document.paths[template][method.toLowerCase()];
    return listed && { template, method: method.toLowerCase(), values: expression.exec(target).groups || {}, ...listed };
  }

  /** What is wrong with the exchange, as texts; those on the client's side begin with "request", the others with "answer". */
  judge(exchange) {
    const operation = this.operationOf(exchange);
    if (operation) return [...this.judgeRequest(exchange, operation), ...this.judgeAnswer(exchange, operation)];
    return [`request: ${exchange.method} ${exchange.path} is not on the page`, ...this.judgeUnlisted(exchange)];
  }

  /** What the page says of paths and methods that it does not list. */
  judgeUnlisted(exchange) {
    const path = this.paths.find(({ expression }) => expression.test(exchange.path.split('?')[0]));
    const expected = path ? 405 : 404;
    const wrong = exchange.status === expected ? [] : [`answer: status ${exchange.status} instead of ${expected}`];
    if (path) {
      const listed = this.operations().filter((one) => one.endsWith(` ${path.template}`)).map((one) => one.split(' ')[0]);
      const allowed = (exchange.answerHeaders.allow || '').split(/, */);
      if (allowed.sort().join() !== listed.sort().join()) wrong.push(`answer: Allow is "${allowed}" instead of "${listed}"`);
    }
    return [...wrong, ...this.judgeBody('answer', exchange.answerHeaders, exchange.answer, pointer('components', 'schemas', 'Failure'))];
  }

  judgeRequest(exchange, { template, method, values, parameters = [], requestBody, security = this.document.security }) {
    const wrong = [];
    const isGuarded = security.length > 0;
    if (isGuarded && !/^Basic \S+$/i.test(exchange.headers.authorization || '')) wrong.push('request: no Basic authentication');
    const asked = new URL(exchange.path, 'http://stand').searchParams;
    for (const parameter of [...(this.document.paths[template].parameters || []), ...parameters]) {
      const { name, in: place, schema, required } = this.resolved(parameter);
      const value = place === 'path' ? decodeURIComponent(values[name]) : asked.get(name);
      if (required || value !== null) wrong.push(...this.errors(`request: ${name} in the ${place}`, schema.$ref, value));
    }
    if (requestBody) {
      const schema = pointer('paths', template, method, 'requestBody', 'content', 'application/json', 'schema');
      wrong.push(...this.judgeBody('request', exchange.headers, exchange.body, schema));
    } else if (exchange.body !== '') {
      wrong.push('request: a body where none belongs');
    }
    return wrong;
  }

  judgeAnswer(exchange, { responses }) {
    const listed = responses[exchange.status];
    if (!listed) return [`answer: status ${exchange.status} is not on the page`];
    const { headers = {}, content } = this.resolved(listed);
    const wrong = Object.entries(headers).flatMap(([name, { schema }]) => {
      const value = exchange.answerHeaders[name.toLowerCase()];
      return value !== undefined && new RegExp(schema.pattern, 'u').test(value) ? [] : [`answer: ${name} is ${value}`];
    });
    if (!content) return exchange.answer === '' ? wrong : [...wrong, 'answer: a body where none belongs'];
    const json = content['application/json'];
    if (json) return [...wrong, ...this.judgeBody('answer', exchange.answerHeaders, exchange.answer, json.schema.$ref)];
    const type = (exchange.answerHeaders['content-type'] || '').split(';')[0];
    return content[type] ? wrong : [...wrong, `answer: Content-Type is "${type}"`];
  }

  judgeBody(side, headers, text, schema) {
    const type = headers['content-type'] || '';
    if (!/^application\/json( *;|$)/.test(type)) return [`${side}: Content-Type is "${type}"`];
    const body = parsed(text);
    return body === undefined ? [`${side}: the body is not JSON`] : this.errors(side, schema, body);
  }

  errors(where, schema, value) {
    if (!this.validators.has(schema)) this.validators.set(schema, this.ajv.compile({ $ref: root + schema }));
    const validate = this.validators.get(schema);
    if (validate(value)) return [];
    return validate.errors.map(({ instancePath, message, params }) => {
      const name = params.additionalProperty || params.unevaluatedProperty;
      return `${where}${instancePath && ` ${instancePath}`}: ${message}${name ? `: ${name}` : ''}`;
    });
  }

  resolved(object) {
    if (!object.$ref) return object;
    return object.$ref.slice(2).split('/').reduce((part, name) => part[name], this.document);
  }
}

module.exports = { Contract };
