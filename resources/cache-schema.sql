-- The empty digest cache that ships with Quillon; the column order of hashTable is relied on.
CREATE TABLE tempTable (filePath TEXT NOT NULL UNIQUE, fileModDate REAL);
CREATE TABLE hashTable (
  fileID INTEGER PRIMARY KEY AUTOINCREMENT,
  fileHash TEXT,
  fileCreationDate REAL,
  fileModDate REAL,
  filePath TEXT UNIQUE,
  fileSize INTEGER
);
