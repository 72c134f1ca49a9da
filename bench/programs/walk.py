import sqlite3
def main():
    db = sqlite3.connect("t.sqlite")
    for k in range(5):
        n = 0
        for (amount,) in db.execute("select amount from t"):
            n += amount
    print(n)
main()
