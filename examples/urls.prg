* The links of the picklist page.
dbcreate("urls", {{"URL","C",40,0}, {"DESC","C",40,0}})
use urls exclusive
link("https://example.com/weather", "Weather for the coming week")
link("https://example.com/tides", "Tide tables of the northern coast")
link("https://example.com/recipes", "Soups, breads and other slow food")
link("https://example.com/chess", "A chess problem every morning")
link("https://example.com/birds", "Birds seen from the harbour wall")
link("https://example.org/library", "The town library's catalogue")
link("https://example.org/museum", "Museum of clocks and instruments")
link("https://example.org/maps", "Old maps, scanned and explained")
link("https://example.org/trains", "Timetables of lines long closed")
link("https://example.org/radio", "Short-wave listening reports")
link("https://example.net/knots", "Sixty knots, drawn step by step")
link("https://example.net/garden", "What to sow, month by month")
link("https://example.net/stars", "The night sky this evening")
link("https://example.net/letters", "Letter forms for sign painters")
link("https://example.net/bicycles", "Repairing three-speed hubs")
link("https://example.com/choir", "Scores for small choirs")
link("https://example.com/sudoku", "Number puzzles to print")
link("https://example.org/lighthouses", "Lighthouses and their lamps")
link("https://example.org/mushrooms", "Mushrooms of the spruce woods")
link("https://example.net/paper", "Folding paper, from boats to cranes")
link("https://example.net/tea", "Tea rooms worth a detour")
link("https://example.com/looms", "Weaving drafts for four shafts")
link("https://example.com/ferries", "Ferries of the archipelago")
link("https://example.org/proverbs", "Proverbs in eleven languages")
link("https://example.org/kites", "Kites that fly in little wind")
index on urls->url to urls1

procedure link(cUrl, cWords)
  append blank
  replace url with cUrl, desc with cWords
