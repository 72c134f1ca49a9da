local n, a = 1
for k = 1, 10 do
  a = {}
  for i = 1, 60000 do
    n = (n * 16807) % 2147483647
    a[i] = n
  end
  table.sort(a)
end
print(a[1])
