"use strict";
// Shows what GET /stand/overview tells, anew every second. All texts are set as texts: a till's are not to be trusted.

const at = id => document.getElementById(id);
const points = new Intl.NumberFormat("en", { minimumFractionDigits: 2, maximumFractionDigits: 2 });
const written = number => points.format(number).replaceAll(",", "\u2009").replace("-", "\u2212");
const clockTime = time => time.slice(11, 19);

function make(tag, options = {}, ...children) {
  const element = document.createElement(tag);
  const { text, ...rest } = options;
  if (text !== undefined) element.textContent = text;
  Object.assign(element, rest);
  element.append(...children);
  return element;
}

// Rebuilds a list only when its content changed, so that a selection or an opened row stays.
const shown = new Map();
function show(id, data, build) {
  const now = JSON.stringify(data);
  if (shown.get(id) === now) return;
  shown.set(id, now);
  at(id).replaceChildren(...build(data));
}

function codeCard(code) {
  const seconds = code.seconds_left;
  const left = `${Math.floor(seconds / 60)}:${String(seconds % 60).padStart(2, "0")} left, ` +
    `${code.attempts_left} ${code.attempts_left === 1 ? "attempt" : "attempts"}`;
  return make("div", { className: `code ${code.state.replace(" ", "-")}` },
    make("b", { text: code.code }),
    make("span", { className: "under", text: code.state === "waiting" ? left : code.state }),
    make("span", { className: "under", text: `to ${code.phone || "nobody"}, receipt ${code.receipt_number}` }));
}

function faultRow(fault) {
  const { id, operation, fault: name, when, nth, every, count, calls, fired, armed, ...settings } = fault;
  const details = Object.entries(settings).filter(([, value]) => value !== "").map(([key, value]) => `${key} ${value}`);
  const calling = `from call ${nth}` + (every > 1 ? `, every ${every}` : "") + `, ${count === 1 ? "once" : count + " times"}`;
  const disarm = make("button", { type: "button", className: "second", text: armed ? "Disarm" : "Remove",
    onclick: () => change("DELETE", `/stand/faults/${id}`) });
  disarm.setAttribute("aria-label", `Disarm fault ${id}`);
  return make("li", { className: armed ? "armed" : "spent" },
    make("div", { className: "what" },
      make("strong", { text: name }), ` on ${operation}`,
      make("span", { className: "under", text: [calling, `${when} the operation`, ...details].join(", ") })),
    make("span", { className: `badge ${armed ? "warn" : ""}`, text: `${fired} of ${calls} calls` }), disarm);
}

function balanceRow(account) {
  const house = { shop: "The shop", service: "The service", debt: "owes" };
  return make("tr", {},
    make("td", { className: "card", text: account.card ?? "" }),
    make("td", { text: account.kind === "customer" ? account.holder ?? "nobody yet" : house[account.kind] },
      ...(account.phone && account.kind === "customer" ? [make("span", { className: "under", text: account.phone })] : [])),
    make("td", { className: `number ${account.balance < 0 ? "gives" : ""}`, text: written(account.balance) }));
}

function ledgerRows(operation) {
  const { n, time, receipt_number: receipt, refers_to: of, entries } = operation;
  const about = [clockTime(time), receipt && `receipt ${receipt}`, of && `of ${of}`, !entries.length && "moved no points"];
  const head = make("tr", { className: "operation" }, make("td", { colSpan: 3 },
    make("span", { className: "n", text: n }), make("strong", { text: operation.operation }),
    make("span", { className: "about", text: about.filter(Boolean).join(", ") })));
  return [head, ...entries.map(entry => make("tr", { className: "entry" },
    make("td", { className: entry.card ? "card" : "", text: entry.card ?? entry.kind }),
    make("td", { className: `number ${entry.amount < 0 ? "gives" : ""}`, text: written(entry.amount) }),
    make("td", { className: "number", text: written(entry.balance) })))];
}

function pretty(text) {
  try { return JSON.stringify(JSON.parse(text), null, 2); } catch { return text || "(empty)"; }
}

function exchangeRow(exchange) {
  const failed = exchange.status !== 200;
  return make("details", {},
    make("summary", {},
      make("span", { className: `status ${failed ? "bad" : ""}`, text: exchange.status || "\u2014" }),
      make("span", { className: "path", text: `${exchange.method} ${exchange.path.replace("/v2/partner/", "")}` }),
      ...(exchange.fault ? [make("span", { className: "badge warn", text: exchange.fault })] : []),
      make("time", { text: clockTime(exchange.time) })),
    make("pre", { text: pretty(exchange.request_body) }),
    make("pre", { text: pretty(exchange.answer_body) }));
}

function render(overview) {
  at("clock").textContent = overview.time.slice(0, 19).replace("T", " ") + " UTC";
  show("codes", overview.codes, list => list.map(codeCard));
  show("faults", overview.faults, list => list.map(faultRow));
  at("disarm-all").hidden = overview.faults.length === 0;
  at("n-faults").textContent = `${overview.faults.filter(fault => fault.armed).length} armed`;
  at("n-operations").textContent = overview.operations_in_all;
  at("n-exchanges").textContent = overview.exchanges_in_all;
  at("n-codes").textContent = overview.codes_in_all;
  show("exchanges", overview.exchanges, list => list.map(exchangeRow));
  showBody("balances", overview.accounts, list => list.map(balanceRow));
  showBody("ledger", overview.operations, list => list.flatMap(ledgerRows));
}

function showBody(id, data, build) {
  const body = at(id).tBodies[0];
  body.id = `${id}-rows`;
  show(body.id, data, build);
}

function renderBooks({ ok, violations, left_by_thresholds: left }) {
  at("books").textContent = !ok ? "Books not in order" : left.length ? "Points left by the thresholds" : "Books in order";
  at("books").className = `badge ${ok ? "good" : "bad"}`;
  at("left").hidden = left.length === 0;
  show("left", left, list => list.map(text => make("li", { text })));
  at("violations").hidden = ok;
  show("violations", violations, list => list.map(text => make("li", { text })));
}

// --- arming

let kinds = [];

function fillForm(overview) {
  if (kinds.length) return;
  kinds = overview.kinds;
  const form = at("arm");
  form.operation.append(...overview.fault_operations.map(name => new Option(name)));
  form.fault.append(...kinds.map(kind => new Option(kind.name)));
  form.fault.value = "apply-then-drop";
  showSettings();
}

function showSettings() {
  const kind = kinds.find(({ name }) => name === at("arm").fault.value);
  at("says").textContent = kind.says + ".";
  const field = (name, value) => make("label", { text: name }, make("input", { name, value }));
  const when = make("label", { text: "when" },
    make("select", { name: "when" }, ...["before", "after"].map(name => new Option(name, name, name === kind.when, name === kind.when))));
  at("settings").replaceChildren(...Object.entries(kind.settings).map(([name, value]) => field(name, value)),
    ...(kind.before && kind.after ? [when] : []));
}

async function change(method, path, body) {
  try {
    const headers = body && { "Content-Type": "application/json" };
    const answer = await fetch(path, { method, headers, body: body && JSON.stringify(body) });
    const said = await answer.json();
    at("wrong").hidden = answer.ok;
    if (!answer.ok) at("wrong").textContent = said.data.map(({ message }) => message).join(" ");
  } catch {
    offline(true);
  }
  await refresh();
}

function arm(event) {
  event.preventDefault();
  const fault = {};
  for (const [name, value] of new FormData(at("arm"))) fault[name] = value;
  change("POST", "/stand/faults", fault);
}

// --- keeping up

function offline(is) { at("offline").hidden = !is; }

async function refresh() {
  try {
    const overview = await (await fetch("/stand/overview")).json();
    fillForm(overview);
    render(overview);
    offline(false);
  } catch {
    offline(true);
  }
}

async function checkBooks() {
  try { renderBooks(await (await fetch("/stand/invariants")).json()); } catch { offline(true); }
}

async function every(milliseconds, task) {
  for (;;) {
    if (!document.hidden) await task();
    await new Promise(done => setTimeout(done, milliseconds));
  }
}

at("arm").addEventListener("submit", arm);
at("arm").fault.addEventListener("change", showSettings);
at("lose").addEventListener("click", () => change("POST", "/stand/faults", { operation: "any", fault: "apply-then-drop" }));
at("disarm-all").addEventListener("click", () => change("DELETE", "/stand/faults"));
every(1000, refresh);
every(5000, checkBooks);
