#!/usr/bin/env node
// Stands between a till and the stand: started in the stand's place and with its arguments, it starts the real one
// behind itself, passes everything on and notes each exchange under /v2/ as one line of JSON, byte for byte as the
// two saw it. Of the credentials only the scheme is noted.
//   KYR_STAND       the real stand
//   KYR_EXCHANGES   the file that takes the exchanges
//   KYR_TAMPER      {"path": end of a path, "replace": text, "with": text}: a change to answers on their way to the till
'use strict';

const fs = require('fs');
const http = require('http');
const { spawn } = require('child_process');

const announcement = 'The stand listens on ';
const tamper = process.env.KYR_TAMPER ? JSON.parse(process.env.KYR_TAMPER) : null;

/** The arguments without `--port N`, and that N. */
function withoutPort(given) {
  const at = given.indexOf('--port');
  return at < 0 ? [given, 0] : [[...given.slice(0, at), ...given.slice(at + 2)], Number(given[at + 1])];
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
  fs.appendFileSync(process.env.KYR_EXCHANGES, `${JSON.stringify(exchange)}\n`);
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
        if (request.url.startsWith('/v2/')) note(request, body, answer, answerBody);
        const headers = { ...answer.headers, 'content-length': answerBody.length };
        response.writeHead(answer.statusCode, headers).end(answerBody);
      });
    });
    onward.on('error', () => request.socket.destroy()); // no answer there, no answer here
    onward.end(body);
  });
}

const [standArguments, port] = withoutPort(process.argv.slice(2));
const stand = spawn(process.env.KYR_STAND, [...standArguments, '--port', '0'], { stdio: ['pipe', 'pipe', 'inherit'] });
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
  stand.stdout.off('data', listen).resume();
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
