// A person's way through the pages, in a headless Chromium: registers, looks the new account up, opens
// the list and the browser page, and comes back through the static page.
//   node pages.mjs http://127.0.0.1:PORT [SCREENSHOT]
import assert from "node:assert/strict";
import { browser } from "./chromium.mjs";

const [base, screenshot] = process.argv.slice(2);

try {
  const page = await browser.newPage({ viewport: { width: 900, height: 1000 } });
  const text = () => page.textContent("body");
  const formOf = (number) => page.locator(`form[action$=example${number}]`);

  await page.goto(base + "/");
  assert.match(page.url(), /\/cgi-bin\/example0$/);
  assert.match(await text(), /Tarnel demo programs/);
  if (screenshot) await page.screenshot({ path: screenshot });

  await page.click("text=Look at");
  assert.match(await text(), /CGI environment variables are:[\s\S]*TARNEL_PLATFORM: "Linux"/);

  await page.goto(base + "/");
  await formOf(2).locator("input[name=FIRSTNAME]").fill("Ursula & Co");
  await formOf(2).locator("input[name=MIDDLENAME]").fill("100%");
  await formOf(2).locator("input[name=LASTNAME]").fill("Tester");
  await formOf(2).locator("input[value=Register]").click();
  const registered = /registered as user\s+(\d+)/.exec(await text());
  assert.ok(registered, await text());
  assert.match(await text(), /Name: Ursula & Co 100% Tester/);

  await page.goto(base + "/");
  await formOf(3).locator("input[name=ACCOUNT]").fill(registered[1]);
  await formOf(3).locator("input[value=Lookup]").click();
  assert.match(await text(), /Ursula & Co 100% Tester/);

  await page.goto(base + "/");
  await formOf(3).locator("input[name=ACCOUNT]").fill("99999");
  await formOf(3).locator("input[value=Lookup]").click();
  assert.match(await text(), /Sorry, your account is not in our database/);

  await page.goto(base + "/cgi-bin/example0");
  await page.click("text=URLs");
  assert.equal(await page.locator("a[href^='https://example.']").count(), 25);
  await page.click("text=Web-O-Rama");
  assert.match(await text(), /A static page beside the program/);

  await page.goto(base + "/cgi-bin/example0/example6");
  assert.match(await text(), /END OF DATA/);
  const rows = await page.locator("tr").count();
  assert.ok(rows > 200, `${rows} rows`);

  // What somebody typed comes back as it is; the server's header keeps it from running.
  await page.goto(base + "/");
  await formOf(2).locator("input[name=FIRSTNAME]").fill("<script>document.title = 'taken'</script>");
  await formOf(2).locator("input[value=Register]").click();
  assert.match(await page.content(), /document\.title = 'taken'/);
  assert.notEqual(await page.title(), "taken");
} finally {
  await browser.close();
}
