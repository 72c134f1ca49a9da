// A person's way through the example application, and a second one who meets him at the same record.
//   node accounts.mjs http://127.0.0.1:PORT [SCREENSHOT]
import assert from "node:assert/strict";
import { browser } from "./chromium.mjs";

const [base, screenshot] = process.argv.slice(2);

try {
  const open = async () => (await browser.newContext({ viewport: { width: 900, height: 500 } })).newPage();
  const page = await open(), other = await open();
  const text = (of = page) => of.textContent("body");
  const rows = async () => (await page.locator("tr").count()) - 1;
  const fill = async (of, values) => {
    for (const [name, value] of Object.entries(values)) await of.fill(`input[name=${name}]`, value);
    await of.click("text=Save");
  };

  await page.goto(base + "/");
  assert.equal(await rows(), 5);
  if (screenshot) await page.screenshot({ path: screenshot });

  // A new account, with a name that a page must escape; what is wrong keeps what was typed.
  const name = `<b>"O'Neil" & Söhne`;
  await page.click("text=New account");
  await fill(page, { name, email: "x@example.com", balance: "12,5" });
  assert.match(await text(), /A balance is a number/);
  assert.equal(await page.inputValue("input[name=name]"), name);
  await fill(page, { balance: "-12.5" });
  assert.equal(new URL(page.url()).pathname, "/index.tnp");
  assert.equal(await rows(), 1);
  assert.match(await text(), /6\s*<b>"O'Neil" & Söhne\s*x@example\.com\s*-12\.50/);
  assert.equal(await page.locator("td b").count(), 0);

  await page.goto(base + "/?search=da");
  assert.match(await text(), /David Falk/);
  assert.equal(await rows(), 1);

  // Two at one account: the second one hears of the first.
  await page.goto(base + "/edit.tnp?number=2");
  await other.goto(base + "/edit.tnp?number=2");
  await fill(page, { balance: "100" });
  await fill(other, { balance: "200" });
  assert.match(await text(other), /Somebody else has changed this account/);
  await other.goto(base + "/edit.tnp?number=2");
  assert.equal(await other.inputValue("input[name=balance]"), "100.00");
  await fill(other, { balance: "300.01", name: "Bo Lindh" });
  assert.match(await text(other), /Bo Lindh\s*300\.01/);

  // A row that is out of date isn't deleted, one that isn't is.
  await page.goto(base + "/?search=bo");
  await other.goto(base + "/edit.tnp?number=2");
  await fill(other, { balance: "1" });
  await page.click("text=Delete");
  assert.match(await text(), /Somebody else is changing this account/);
  await page.goto(base + "/?search=bo");
  await page.click("text=Delete");
  assert.equal(await rows(), 5);
  assert.doesNotMatch(await text(), /Bo Lindh/);
  assert.match(await text(await other.goto(base + "/edit.tnp?number=2").then(() => other)), /no such account/);

  // Posts without a token of the visit do nothing.
  for (const path of ["/delete.prg", "/edit.tnp?number=3"]) {
    const forged = await page.request.post(base + path, { form: { number: "3", version: "1", name: "x", balance: "1" } });
    assert.match(await forged.text(), /isn't one of this visit|isn&#39;t one of this visit/);
  }
  const csv = await page.request.get(base + "/export.prg");
  assert.match(csv.headers()["content-type"], /^text\/csv; charset=utf-8/i);
  assert.match(await csv.text(), /^number,name,email,balance\n1,Ada Berg,,12\.50\n3,Clara Ek/);
} finally {
  await browser.close();
}
