xquery version "3.1";

(:~
 : Ways into the evidence document that all queries share. A library: it stands at index 0
 : of an Include section and is imported, not run.
 :)
module namespace ev = "urn:examples:evidence";

(:~ The records of one kind that an analyzer made, wherever its source stands. :)
declare function ev:records($evidence as document-node(), $analyzer as xs:string,
    $kind as xs:string) as element(record)* {
  $evidence//source[@analyzer = $analyzer]/record[@kind = $kind]
};

(:~ The trees that an analyzer made: one a file or analyzed value. :)
declare function ev:trees($evidence as document-node(), $analyzer as xs:string)
    as element(source)* {
  $evidence//source[@analyzer = $analyzer]
};

(:~
 : The text of a field without what was found inside it. Nothing if there is no such field or
 : no text in it.
 :)
declare function ev:field($record as element()?, $name as xs:string) as xs:string? {
  let $text := normalize-space(string-join($record/field[@name = $name][1]/text()))
  return if ($text = "") then () else $text
};

(:~ The records by the text of a field; those without it come first. :)
declare function ev:sorted($records as element(record)*, $name as xs:string)
    as element(record)* {
  for $record in $records
  order by ev:field($record, $name) empty least
  return $record
};

(:~ The nodes below a path of keys; "*" stands for any key. :)
declare function ev:nodes($from as element()*, $path as xs:string) as element(node)* {
  let $key := tokenize($path, "/")[1]
  let $found := $from/node[$key = "*" or @key = $key]
  return
    if (contains($path, "/")) then ev:nodes($found, substring-after($path, "/")) else $found
};

(:~ The text of the first node below a path of keys. :)
declare function ev:node($from as element()*, $path as xs:string) as xs:string? {
  let $found := ev:nodes($from, $path)
  return if (empty($found)) then () else normalize-space(string-join($found[1]/text()))
};

(:~ An attribute, unless there is nothing to put into it. :)
declare function ev:attribute($name as xs:string, $value as xs:string?) as attribute()? {
  if (empty($value) or $value = "") then () else attribute { $name } { $value }
};

(:~ An element, unless there is nothing to put into it. :)
declare function ev:element($name as xs:string, $value as xs:string?) as element()? {
  if (empty($value) or $value = "") then () else element { $name } { $value }
};

(:~ What a reader needs to find a result again: file, and whether it had been deleted. :)
declare function ev:origin($item as element()) as attribute()* {
  ev:attribute("file", $item/ancestor-or-self::source[@path][1]/@path/string()),
  if ($item/@state = "recovered") then attribute recovered { "true" } else ()
};
