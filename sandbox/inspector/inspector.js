"use strict";

// Every value goes in as text.
const byId = id => document.getElementById(id);
const token = document.querySelector("meta[name=inspector-token]").content;
let last = 0;

function element(name, text, className) {
    const made = document.createElement(name);
    if (text !== undefined && text !== null) made.textContent = text;
    if (className) made.className = className;
    return made;
}

function row(...cells) {
    const made = element("tr");
    for (const cell of cells)
        made.append(cell instanceof Node ? cell : element("td", cell));
    return made;
}

const grouped = number => Number(number).toLocaleString("en-US");

function resultOf(entry) {
    if (entry.tls) return [entry.tls, "bad"];
    if (entry.violation) return ["rejected: " + entry.violation, "bad"];
    if (entry.scenario === undefined) return ["HTTP " + entry.status, ""];
    const fault = entry.scenario ? " · " + (effects.get(entry.scenario) || entry.scenario) : "";
    return ["rc " + entry.rc + fault, String(entry.rc) !== "0" ? "bad" : entry.scenario ? "odd" : "good"];
}

function summaryOf(entry) {
    const [result, className] = resultOf(entry);
    const summary = element("summary");
    const what = element("span");
    const parts = [entry.request?.mi ? "merchant " + entry.request.mi : entry.path || ""];
    if (entry.kind === "payment") parts.push(String(entry.request?.ap?.r).split("|")[2]);
    if (entry.amount) parts.push(grouped(entry.amount) + " rials");
    what.append(parts.filter(Boolean).join(" · ") + " ", element("strong", result, className));
    if (entry.deviation) what.append(" ", element("em", "deviates: " + entry.deviation, "bad"));
    summary.append(element("time", entry.time.slice(11, 19)), element("span", entry.kind), what);
    return summary;
}

function block(title, value) {
    const made = element("div");
    made.append(element("h3", title), element("pre", JSON.stringify(value, null, 2)));
    return made;
}

function show(exchange) {
    const made = element("details");
    const pair = element("div", null, "pair");
    const {request, ...rest} = exchange.entry;
    const beside = element("div", null, "stack");
    if (request) pair.append(block("Request, opened", request));
    if (exchange.answer) beside.append(block("Answer, before it was sealed", exchange.answer));
    beside.append(block("Journal", rest));
    pair.append(beside);
    made.append(summaryOf(exchange.entry), pair);
    const list = byId("exchanges");
    list.prepend(made);
    while (list.childElementCount > 200) list.lastElementChild.remove();
}

function showLedger(rows) {
    byId("ledger").replaceChildren(...rows.map(paid => row(
        element("td", paid.issued, "fixed"), paid.merchant, paid.title, element("td", grouped(paid.amount), "number"), paid.card,
        element("td", paid.rc, "number"), element("td", paid.paid ? "paid" : "open", paid.paid ? "good" : "quiet"))));
}

async function poll() {
    try {
        const response = await fetch("/inspector/state?after=" + last);
        const state = await response.json();
        for (const exchange of state.exchanges) {
            show(exchange);
            last = exchange.number;
        }
        byId("none").hidden = byId("exchanges").childElementCount > 0;
        showLedger(state.ledger);
        byId("next").textContent = state.next
            ? "The next " + (state.next.side === "both" ? "answer" : state.next.side + " answer") + ": " + state.next.name
            : "As the numbers say.";
        byId("live").textContent = "live";
    } catch {
        byId("live").textContent = "the service does not answer; reload when it runs again";
    }
    setTimeout(poll, document.hidden ? 5000 : 1000);
}

async function setNext(text) {
    const response = await fetch("/inspector/next", {method: "POST", headers: {"X-Inspector-Token": token}, body: text});
    byId("next").textContent = response.ok ? (text ? "The next answer: " + text : "As the numbers say.")
                                           : await response.text();
}

const effects = new Map();
let magic = [];

function fillScenarios() {
    const side = byId("side").value;
    byId("scenario").replaceChildren(...magic.filter(one => one.side === "both" || one.side === side).map(one => {
        const option = element("option", one.name + ": " + one.effect);
        option.value = one.name;
        return option;
    }));
}

async function start() {
    const reference = await (await fetch("/inspector/reference")).json();
    magic = reference.magic;
    for (const one of magic) effects.set(one.number, one.effect);
    byId("magic").append(...magic.map(one => row(one.name, one.mobile, one.card, one.effect)));
    byId("cards").append(...reference.cards.map(card => row(card.identifier, card.shown,
                                                            element("td", card.scenario, "number"))));
    byId("refusals").append(...reference.refusals.map(one => row(element("td", one.rc, "number"), one.reason)));
    fillScenarios();
    byId("side").addEventListener("change", fillScenarios);
    byId("set").addEventListener("click", () => setNext(byId("side").value + ":" + byId("scenario").value));
    byId("clear").addEventListener("click", () => setNext(""));
    poll();
}

start();
