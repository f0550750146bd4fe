#!/usr/bin/env node
// Stands between a till and the stand: started in the stand's place and with its arguments, it starts the real one
// behind itself, passes everything on and notes each exchange as one line of JSON, byte for byte as the two saw it.
// Of the credentials only the scheme is noted.
//   KYR_STAND       the real stand
//   KYR_EXCHANGES   the file that takes the exchanges, if any
//   KYR_CONTRACT    the OpenAPI page, if any: whatever is against it is told on stderr at once
//   KYR_TAMPER      {"path": end of a path, "replace": text, "with": text}: a change to answers on their way to the till
'use strict';

const fs = require('fs');
const http = require('http');
const { spawn } = require('child_process');

const announcement = 'The stand listens on ';
const contract = process.env.KYR_CONTRACT ? require('./contract').Contract.read(process.env.KYR_CONTRACT) : null;
const tamper = process.env.KYR_TAMPER ? JSON.parse(process.env.KYR_TAMPER) : null;

/** The arguments without the port, and the port. */
function withoutPort(given) {
  const at = given.findIndex((one) => /^--port(=|$)/.test(one));
  if (at < 0) return [given, 0];
  const [, joined] = given[at].split('=');
  return [[...given.slice(0, at), ...given.slice(at + (joined === undefined ? 2 : 1))], Number(joined ?? given[at + 1])];
}

function note(request, requestBody, answer, answerBody) {
  const headers = { ...request.headers };
  if (headers.authorization) headers.authorization = `${headers.authorization.split(' ')[0]} ***`;
  const exchange = {
    method: request.method,
    path: request.url,
    headers,
    body: requestBody.toString('utf8'),
    status: answer.statusCode,
    answerHeaders: answer.headers,
    answer: answerBody.toString('utf8'),
  };
  if (process.env.KYR_EXCHANGES) fs.appendFileSync(process.env.KYR_EXCHANGES, `${JSON.stringify(exchange)}\n`);
  if (!contract) return;
  for (const text of contract.judge(exchange)) process.stderr.write(`${exchange.method} ${exchange.path}: ${text}\n`);
}

function tampered(path, body) {
  if (!tamper || !path.endsWith(tamper.path)) return body;
  return Buffer.from(body.toString('utf8').replace(tamper.replace, tamper.with));
}

function collect(stream, done) {
  const parts = [];
  stream.on('data', (part) => parts.push(part));
  stream.on('end', () => done(Buffer.concat(parts)));
}

function pass(base, request, response) {
  collect(request, (body) => {
    const options = { method: request.method, headers: request.headers, agent: false };
    const onward = http.request(new URL(request.url, base), options, (answer) => {
      collect(answer, (raw) => {
        const answerBody = tampered(request.url, raw);
        note(request, body, answer, answerBody);
        const headers = { ...answer.headers, 'content-length': answerBody.length };
        response.writeHead(answer.statusCode, headers).end(answerBody);
      });
    });
    onward.on('error', () => request.socket.destroy()); // no answer there, no answer here
    onward.end(body);
  });
}

const [others, port] = withoutPort(process.argv.slice(2));
// A port that is none is for the stand to refuse.
const isPort = Number.isInteger(port) && port >= 0 && port < 65536;
const standArguments = isPort ? [...others, '--port', '0'] : process.argv.slice(2);
const stand = spawn(process.env.KYR_STAND, standArguments, { stdio: ['pipe', 'pipe', 'inherit'] });
process.stdin.on('end', () => stand.stdin.end()).resume();
for (const signal of ['SIGTERM', 'SIGINT']) process.on(signal, () => stand.kill(signal));
stand.on('error', (error) => {
  process.stderr.write(`${process.env.KYR_STAND}: ${error.message}\n`);
  process.exit(1);
});
stand.on('exit', (status) => process.exit(status === null ? 1 : status));

let said = '';
stand.stdout.on('data', function listen(text) {
  said += text;
  if (!said.includes('\n')) return;
  stand.stdout.off('data', listen);
  if (!said.startsWith(announcement)) { // its help, for example
    process.stdout.write(said);
    stand.stdout.pipe(process.stdout);
    return;
  }
  stand.stdout.resume();
  const base = said.slice(said.indexOf(announcement) + announcement.length).trim();
  const server = http.createServer((request, response) => pass(base, request, response));
  server.on('error', (error) => {
    process.stderr.write(`proxy: ${error.message}\n`);
    stand.kill();
  });
  server.listen(port, '127.0.0.1', () => {
    process.stdout.write(`${announcement}http://127.0.0.1:${server.address().port}/\n`);
  });
});
