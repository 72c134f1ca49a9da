local i, n = 0, 0
while i < 5000000 do
  n = n + i * 2 % 7 - 1
  i = i + 1
end
print(n)
